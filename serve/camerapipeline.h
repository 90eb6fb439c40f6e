#pragma once

#include <formatchoice.h>

#include <QString>

// The pipeline behind one camera's RTSP mount, in gst-launch words: the
// camera's JPEG frames as they come (RTP/JPEG), raw frames encoded to
// H.264 by x264enc, tuned for live viewing (no frame held back for
// reordering), with a key frame every second so that a client that joins
// late starts within one.
class CameraPipeline
{
public:
    // selector: what tarvellosrc's device property opens the camera by.
    static QString launch(const QString& selector, const Tarvello::FormatChoice& format);
    // Builds the pipeline once, without starting it; the problem (an
    // element that is not installed) or an empty text.
    static QString check(const QString& launch);
    // "MJPG 1280x720 at 1/30 s, sent as JPEG"
    static QString describe(const Tarvello::FormatChoice& format);
    // A text as gst-launch reads it inside double quotes.
    static QString quoted(const QString& text);
};
