#pragma once

#include <cstdint>

namespace UsbCamera {

// What the controls do to the picture.
struct PictureSettings
{
    int brightness = 0;         // added to the luma, -100 .. 100
    int contrast = 100;         // percent around mid grey
    int gain = 0;               // 0 is unity, 100 is five times
    int exposure = 100;         // 100 us units; 100 is the nominal exposure
    int whiteBalanceKelvin = 5000;

    bool operator==(const PictureSettings& o) const
    {
        return brightness == o.brightness && contrast == o.contrast && gain == o.gain && exposure == o.exposure
               && whiteBalanceKelvin == o.whiteBalanceKelvin;
    }
};

} // namespace UsbCamera
