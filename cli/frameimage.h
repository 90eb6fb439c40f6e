#pragma once

#include <QImage>
#include <QString>

class StreamFormat;

// A frame's bytes as a picture, for the formats this tool can convert:
// RGB3, BGR3, MJPG, YUYV and the GRBG Bayer mosaic. Others, and frames
// shorter than their format needs, give a null image.
class FrameImage
{
public:
    static bool canConvert(const QString& fourcc);
    static QImage convert(const StreamFormat& format, const unsigned char* data, int size);

private:
    static QImage fromYuyv(const StreamFormat& format, const unsigned char* data);
    static QImage fromGrbg(const StreamFormat& format, const unsigned char* data);
};
