#pragma once

#include <QImage>
#include <QString>

class StreamFormat;

// A frame's bytes as a picture, for the formats the core converts (see the
// core's pixelformat.h): RGB3, BGR3, YUYV and the Bayer mosaics as RGB888,
// MJPG as libjpeg-turbo decodes it (RGB32, grey pictures Grayscale8).
// Others, frames shorter than their format needs and JPEG data that does
// not decode to a sane picture give a null image.
class FrameImage
{
public:
    static bool canConvert(const QString& fourcc);
    static QImage convert(const StreamFormat& format, const unsigned char* data, int size);
};
