#pragma once

#include "jpegstrips.h"

#include <QImage>

// Decodes one strip of a frame with libjpeg(-turbo) into the rows of the
// picture that the strip is to write, and no others, so that strips of one
// picture can be decoded on several threads at once. Colour comes out as
// RGB32, grey as Grayscale8, as the whole frame's decoder gives them.
namespace JpegStripDecoder {

// bits: the picture's first row, bytesPerLine apart, width pixels wide.
// False when the strip is not what it was cut to be or cannot be decoded;
// a damaged interval inside it still decodes, as in the whole frame.
bool decode(const JpegStrips::Strip& strip, uchar* bits, qsizetype bytesPerLine, int width, QImage::Format format);

} // namespace JpegStripDecoder
