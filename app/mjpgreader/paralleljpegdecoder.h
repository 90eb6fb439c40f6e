#pragma once

#include <QImage>

// Decodes a large frame in strips on all cores at once, where the frame's
// restart intervals allow it (JpegStrips): at 3840x2160 one core needs
// about a third of a 30 fps frame period for the decode alone, and the
// picture is shown that much later. The pixels are the same as from one
// whole decode.
namespace ParallelJpegDecoder {

// Pictures smaller than this gain less from the strips than the threads
// and the second set of headers cost.
constexpr qint64 kMinPixels = 2500000;

// Decodes into picture, which has the frame's size and format (RGB32 or
// Grayscale8) and is not shared. False when the frame is too small, the
// machine has one core, or the frame cannot be cut or decoded in strips:
// the caller then decodes it whole.
bool decode(const uchar* data, qint64 size, QImage& picture);

} // namespace ParallelJpegDecoder
