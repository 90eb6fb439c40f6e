#pragma once

#include <string>

namespace ImageAcquisition {

// What the overlay tells about the frame itself.
struct FrameInfo
{
    unsigned long long number = 0;
    double seconds = 0.0; // since the sequence started
    std::string caption;  // format, size and rate, such as "BGR3 640x480 30 fps"
};

} // namespace ImageAcquisition
