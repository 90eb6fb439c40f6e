#include "colourconversion.h"

namespace ImageAcquisition {

ColourConversion::Yuv ColourConversion::toYuv(const Rgb& c)
{
    const int r = c.r, g = c.g, b = c.b;
    return {static_cast<unsigned char>(((66 * r + 129 * g + 25 * b + 128) >> 8) + 16),
            static_cast<unsigned char>(((-38 * r - 74 * g + 112 * b + 128) >> 8) + 128),
            static_cast<unsigned char>(((112 * r - 94 * g - 18 * b + 128) >> 8) + 128)};
}

void ColourConversion::toBgr(const RgbImage& image, unsigned char* out)
{
    const unsigned char* src = image.pixels.data();
    const size_t pixels = static_cast<size_t>(image.width) * static_cast<size_t>(image.height);
    for (size_t i = 0; i < pixels; ++i, src += 3, out += 3) {
        out[0] = src[2];
        out[1] = src[1];
        out[2] = src[0];
    }
}

void ColourConversion::toYuyv(const RgbImage& image, unsigned char* out)
{
    // Written out rather than through toYuv(): this runs over whole frames
    // whenever a setting changes the picture.
    auto luma = [](int r, int g, int b) { return static_cast<unsigned char>(((66 * r + 129 * g + 25 * b + 128) >> 8) + 16); };
    for (int y = 0; y < image.height; ++y) {
        const unsigned char* src = image.row(y);
        unsigned char* dst = out + static_cast<size_t>(y) * static_cast<size_t>(image.width) * 2;
        for (int x = 0; x < image.width; x += 2, src += 6, dst += 4) {
            const bool pair = x + 1 < image.width;
            const unsigned char* second = pair ? src + 3 : src;
            const int r = (src[0] + second[0] + 1) >> 1;
            const int g = (src[1] + second[1] + 1) >> 1;
            const int b = (src[2] + second[2] + 1) >> 1;
            dst[0] = luma(src[0], src[1], src[2]);
            dst[1] = static_cast<unsigned char>(((-38 * r - 74 * g + 112 * b + 128) >> 8) + 128);
            if (pair) {
                dst[2] = luma(second[0], second[1], second[2]);
                dst[3] = static_cast<unsigned char>(((112 * r - 94 * g - 18 * b + 128) >> 8) + 128);
            }
        }
    }
}

} // namespace ImageAcquisition
