#pragma once

#include <QString>

#include <optional>
#include <utility>

namespace ImageAcquisition {
class ICamera;
}

namespace Tarvello {

// A pixel format, frame size and frame interval picked from what a camera
// offers, by value. What is not asked for keeps the camera's current
// choice where the new format (or size) still offers it, else the first
// one offered. The camera is only read; setting the choice is the
// caller's, who knows whether the camera may change now.
class FormatChoice
{
public:
    using Size = std::pair<unsigned, unsigned>;
    using Interval = std::pair<int, int>; // numerator, denominator in seconds

    struct Request
    {
        std::optional<QString> fourcc; // any case
        std::optional<Size> size;
        std::optional<Interval> interval;
        std::optional<double> rate; // frames a second: the closest interval (when no interval is asked for)
    };

    // A request as a command line gives it (--format, --size WIDTHxHEIGHT,
    // --interval N/D, --fps RATE); an empty text asks for nothing. Throws
    // BadInput for a text that means no size, interval or rate.
    static Request requestFromText(const QString& fourcc, const QString& size, const QString& interval,
                                   const QString& rate);

    // Throws BadInput naming what the camera offers when a request matches
    // nothing, or when the camera offers no format, size or interval at all.
    FormatChoice(ImageAcquisition::ICamera& camera, const Request& request);

    int formatIndex = 0;
    int resolutionIndex = 0;
    int intervalIndex = 0;

    QString fourcc;
    bool compressed = false;
    unsigned width = 0;
    unsigned height = 0;
    int bytesPerLine = 0;
    Interval interval{1, 30};
};

} // namespace Tarvello
