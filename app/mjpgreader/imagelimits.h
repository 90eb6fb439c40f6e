#pragma once

#include <imageacquisition/picturelimits.h>

#include <QSize>

// The layer's picture limits for Qt's sizes: everything that decodes a
// frame in the window asks here first.
namespace ImageLimits {

constexpr int kMaxPictureDimension = ImageAcquisition::PictureLimits::kMaxDimension;
constexpr qint64 kMaxPicturePixels = ImageAcquisition::PictureLimits::kMaxPixels;

inline bool allowed(const QSize& size)
{
    return size.isValid() && ImageAcquisition::PictureLimits::allowed(size.width(), size.height());
}

} // namespace ImageLimits
