#pragma once

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

    QString fourcc;
    bool compressed = false;
    int width = 0;
    int height = 0;
    int bytesPerLine = 0;
    int numerator = 1;
    int denominator = 30;

    double nominalRate() const { return double(denominator) / double(numerator); }
    QString text() const;
};
