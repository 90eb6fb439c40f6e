#pragma once

#include <string>

namespace ImageAcquisition {
class ICamera;
}

namespace Tarvello {

// What the frames of a stream are: their pixel format's four-character
// code, their size, and for raw formats the bytes from one row to the next
// (the layer's figure for the size; 0 for compressed formats).
struct FrameLayout
{
    std::string fourcc;
    int width = 0;
    int height = 0;
    int bytesPerLine = 0;

    // The camera's current format and size; empty and 0 where the camera
    // reports none.
    static FrameLayout current(ImageAcquisition::ICamera& camera);
};

} // namespace Tarvello
