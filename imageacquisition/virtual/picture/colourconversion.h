#pragma once

#include "rgbimage.h"

namespace ImageAcquisition {

// Conversions from the rendered RGB picture to the other packed layouts.
class ColourConversion
{
public:
    struct Yuv
    {
        unsigned char y;
        unsigned char u;
        unsigned char v;
    };

    // ITU-R BT.601, studio range (Y 16 .. 235), as video devices deliver it.
    static Yuv toYuv(const Rgb& c);

    // out has room for 3 * width * height bytes.
    static void toBgr(const RgbImage& image, unsigned char* out);
    // out has room for 2 * width * height bytes; a pair of pixels shares
    // the chroma of their average.
    static void toYuyv(const RgbImage& image, unsigned char* out);
};

} // namespace ImageAcquisition
