#pragma once

#include <jpegdecoder.h>

#include <QImage>
#include <QString>

// The steps of showing a frame that no implementation can skip, each in its
// best form and timed alone: for MJPG the decode into a picture that is
// reused (no allocation, no fresh pages), for BGR3 the red/blue swap into a
// new picture, and for every format the fast scaling into the 640x480 view
// and the pixmap made of it.
class StepCost
{
public:
    struct Times
    {
        double conversionMs = 0; // decode or swap; 0 where the picture wraps the frame
        double pixmapMs = 0;
    };

    Times measure(const QString& fourcc, const unsigned char* data, int size, int width, int height,
                  int bytesPerLine);
    // The median of repeated measurements.
    Times median(const QString& fourcc, const unsigned char* data, int size, int width, int height,
                 int bytesPerLine, int repetitions);

private:
    Tarvello::JpegDecoder m_decoder;
    QImage m_decoded;
};
