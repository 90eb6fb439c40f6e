#include "encoding.h"

namespace ImageAcquisition {

int bytesPerLine(Encoding encoding, int width)
{
    switch (encoding) {
    case Encoding::Rgb24:
    case Encoding::Bgr24:
        return 3 * width;
    case Encoding::BayerGrbg8:
        return width;
    case Encoding::Yuyv:
        return 2 * width;
    case Encoding::Mjpeg:
        return 0;
    }
    return 0;
}

} // namespace ImageAcquisition
