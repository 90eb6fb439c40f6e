#pragma once

#include <QString>

namespace ImageAcquisition {
class ICamera;
}

namespace Tarvello {

// What to tell a user whose stream the USB bus refused (startStreaming
// gave -ENOSPC): the bus, the other cameras streaming on it and what they
// hold, about what the refused stream needs, and what of this camera's
// formats would fit in what is left, or else what to try.
class BusAdvice
{
public:
    // camera: the camera whose stream was refused, on the format, size and
    // interval that were asked for.
    static QString explain(ImageAcquisition::ICamera& camera);
    // Bytes a second as "55.3 MB/s".
    static QString rateText(long long bytesPerSecond);
};

} // namespace Tarvello
