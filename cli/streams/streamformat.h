#pragma once

#include <formatchoice.h>

#include <QCommandLineParser>
#include <QString>

namespace ImageAcquisition {
class ICamera;
}

// The format, size and interval a stream runs at, chosen with --format,
// --size and --interval (or --fps, the closest interval); what is not
// given stays as the camera has it where the new choice still offers it,
// else the first offered.
class StreamFormat
{
public:
    static void addOptions(QCommandLineParser& parser);
    // Makes the choice current on the camera. Throws BadInput listing what
    // the camera offers when a choice matches nothing.
    static StreamFormat choose(ImageAcquisition::ICamera& camera, const QCommandLineParser& parser);
    // The same format, size and interval again (on a camera that came
    // back); throws CtlError when the camera no longer offers them.
    static StreamFormat chooseAgain(ImageAcquisition::ICamera& camera, const StreamFormat& same);

    QString fourcc;
    bool compressed = false;
    int width = 0;
    int height = 0;
    int bytesPerLine = 0;
    int numerator = 1;
    int denominator = 30;

    double nominalRate() const { return double(denominator) / double(numerator); }
    QString text() const;

private:
    // Makes the request current; throws as choose() does.
    static StreamFormat apply(ImageAcquisition::ICamera& camera, const Tarvello::FormatChoice::Request& request);
};
