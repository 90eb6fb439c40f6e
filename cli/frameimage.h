#pragma once

#include <QImage>
#include <QString>

class StreamFormat;

// A frame's bytes as a picture, for the formats this tool can convert:
// RGB3, BGR3, MJPG, YUYV and the GRBG Bayer mosaic. Others, frames shorter
// than their format needs and JPEG data that does not decode to a sane
// picture give a null image.
class FrameImage
{
public:
    static bool canConvert(const QString& fourcc);
    static QImage convert(const StreamFormat& format, const unsigned char* data, int size);

private:
    static QImage fromJpeg(const unsigned char* data, int size);
    static QImage fromYuyv(const StreamFormat& format, const unsigned char* data);
    static QImage fromGrbg(const StreamFormat& format, const unsigned char* data);
};
