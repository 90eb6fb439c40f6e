#include "bayermosaic.h"

namespace ImageAcquisition {

void BayerMosaic::sample(const RgbImage& image, unsigned char* out)
{
    for (int y = 0; y < image.height; ++y) {
        const unsigned char* src = image.row(y);
        unsigned char* dst = out + static_cast<size_t>(y) * static_cast<size_t>(image.width);
        // Offsets of the two samples of a pixel pair within its 6 bytes.
        const int first = (y & 1) == 0 ? Green : Blue;
        const int second = (y & 1) == 0 ? 3 + Red : 3 + Green;
        int x = 0;
        for (; x + 1 < image.width; x += 2, src += 6) {
            dst[x] = src[first];
            dst[x + 1] = src[second];
        }
        if (x < image.width)
            dst[x] = src[first];
    }
}

} // namespace ImageAcquisition
