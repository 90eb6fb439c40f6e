#pragma once

#include <QSize>
#include <QtGlobal>

// The largest picture the live view agrees to decode: a frame header may
// claim any size, and the picture is allocated before a byte is decoded.
namespace ImageLimits {
constexpr int kMaxPictureDimension = 15360;
constexpr qint64 kMaxPicturePixels = 33177600;

inline bool allowed(const QSize& size)
{
    return size.isValid() && !size.isEmpty() && size.width() <= kMaxPictureDimension
           && size.height() <= kMaxPictureDimension && qint64(size.width()) * size.height() <= kMaxPicturePixels;
}
} // namespace ImageLimits
