#pragma once

#include <QSize>

// The largest picture the window decodes. Cameras of the layer go up to
// 3840x2160; a compressed frame declaring more than four such pictures, or a
// side longer than four of theirs, carries a corrupt header, and decoding it
// would only allocate memory for noise.
namespace ImageLimits {

constexpr int kMaxPictureDimension = 15360;
constexpr qint64 kMaxPicturePixels = 33177600;

// False as well for a size the reader could not tell: such data is no
// picture the window can show.
inline bool allowed(const QSize& size)
{
    return size.isValid() && !size.isEmpty() && size.width() <= kMaxPictureDimension
        && size.height() <= kMaxPictureDimension && qint64(size.width()) * size.height() <= kMaxPicturePixels;
}

} // namespace ImageLimits
