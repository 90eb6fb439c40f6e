#pragma once

namespace Tarvello {

// How the pixels of a picture lie in its memory.
enum class PixelLayout
{
    Rgb24,   // red, green, blue: QImage's RGB888, a numpy array height x width x 3
    Bgr24,   // blue, green, red: the order OpenCV works in
    Rgb32,   // a 32-bit word 0xffRRGGBB each, in the machine's byte order: QImage's RGB32
    Grey8,   // one byte each: QImage's Grayscale8
    Samples, // a raw frame's bytes as the camera sent them, without the padding of its rows
};

// Bytes of one pixel in the layout; for Samples, the raw format's own
// (frameBytesPerPixel).
constexpr int bytesPerPixel(PixelLayout layout, int frameBytesPerPixel)
{
    switch (layout) {
    case PixelLayout::Rgb24:
    case PixelLayout::Bgr24:
        return 3;
    case PixelLayout::Rgb32:
        return 4;
    case PixelLayout::Grey8:
        return 1;
    case PixelLayout::Samples:
        return frameBytesPerPixel;
    }
    return 0;
}

// Memory that a picture is written into, owned by the caller: width x
// height pixels in the layout, bytesPerLine from the start of one row to
// the start of the next.
struct PictureBuffer
{
    unsigned char* bits = nullptr;
    int width = 0;
    int height = 0;
    long long bytesPerLine = 0;
    PixelLayout layout = PixelLayout::Rgb24;
};

} // namespace Tarvello
