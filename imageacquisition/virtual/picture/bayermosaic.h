#pragma once

#include "rgbimage.h"

namespace ImageAcquisition {

// What a sensor with a GRBG colour filter array records of a picture: one
// sample a pixel, rows alternating G R G R ... and B G B G ...
class BayerMosaic
{
public:
    enum Channel
    {
        Red = 0,
        Green = 1,
        Blue = 2,
    };

    // The colour that the pixel at (x, y) samples.
    static Channel channelAt(int x, int y)
    {
        if ((y & 1) == 0)
            return (x & 1) == 0 ? Green : Red;
        return (x & 1) == 0 ? Blue : Green;
    }

    // out has room for width * height bytes.
    static void sample(const RgbImage& image, unsigned char* out);
};

} // namespace ImageAcquisition
