#pragma once

#include <cstddef>
#include <vector>

namespace ImageAcquisition {

struct Rgb
{
    unsigned char r;
    unsigned char g;
    unsigned char b;
};

// A picture of 3 bytes a pixel (R, G, B), rows packed without gaps.
struct RgbImage
{
    int width = 0;
    int height = 0;
    std::vector<unsigned char> pixels;

    void resize(int w, int h)
    {
        width = w;
        height = h;
        pixels.resize(static_cast<size_t>(w) * static_cast<size_t>(h) * 3);
    }
    unsigned char* row(int y) { return pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(width) * 3; }
    const unsigned char* row(int y) const
    {
        return pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(width) * 3;
    }
};

} // namespace ImageAcquisition
