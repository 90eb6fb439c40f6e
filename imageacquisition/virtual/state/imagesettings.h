#pragma once

#include <string>

namespace ImageAcquisition {

// What the renderer needs to know of the camera's state for one frame.
struct ImageSettings
{
    int brightness = 0;
    int contrast = 100;
    int gain = 0;
    int whiteBalance = 5000;
    long long exposureUs = 10000;
    int pattern = 0;
    int defocus = 0; // distance of the lens from sharp focus
    std::string overlayText;
    long long linkFrequency = 0;
    int temperatureCenti = 0;
    unsigned errors = 0;
    unsigned long long sequenceGeneration = 0;
};

} // namespace ImageAcquisition
