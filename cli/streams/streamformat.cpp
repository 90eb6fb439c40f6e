#include "streamformat.h"

#include <badinput.h>
#include <ctlerror.h>
#include <formatchoice.h>

#include <imageacquisition/imageacquisition.h>

using namespace ImageAcquisition;
using namespace Tarvello;

void StreamFormat::addOptions(QCommandLineParser& parser)
{
    parser.addOption({"format", "Pixel format by four-character code (MJPG, RGB3, YUYV, ...).", "fourcc"});
    parser.addOption({"size", "Frame size, WIDTHxHEIGHT.", "size"});
    parser.addOption({"interval", "Frame interval as N/D seconds (1/30).", "interval"});
    parser.addOption({"fps", "Frame rate; the interval closest to it.", "rate"});
}

StreamFormat StreamFormat::choose(ICamera& camera, const QCommandLineParser& parser)
{
    const FormatChoice::Request request =
        FormatChoice::requestFromText(parser.value("format"), parser.value("size"), parser.value("interval"),
                                      parser.value("fps"));
    return apply(camera, request);
}

StreamFormat StreamFormat::chooseAgain(ICamera& camera, const StreamFormat& same)
{
    FormatChoice::Request request;
    request.fourcc = same.fourcc;
    request.size = FormatChoice::Size{unsigned(same.width), unsigned(same.height)};
    request.interval = FormatChoice::Interval{same.numerator, same.denominator};
    StreamFormat chosen;
    try {
        chosen = apply(camera, request);
    } catch (const BadInput&) {
        chosen.fourcc.clear();
    }
    if (chosen.fourcc != same.fourcc || chosen.width != same.width || chosen.height != same.height
        || chosen.numerator * same.denominator != same.numerator * chosen.denominator)
        throw CtlError(QString("The camera came back without %1.").arg(same.text()), CtlError::kFailed);
    return chosen;
}

StreamFormat StreamFormat::apply(ICamera& camera, const FormatChoice::Request& request)
{
    const FormatChoice choice(camera, request);
    if (!camera.setFormat(choice.formatIndex, choice.resolutionIndex, choice.intervalIndex))
        throw CtlError("The camera refused the format (is it streaming in another program?).", CtlError::kRefused);

    StreamFormat chosen;
    chosen.fourcc = choice.fourcc;
    chosen.compressed = choice.compressed;
    chosen.width = int(choice.width);
    chosen.height = int(choice.height);
    chosen.bytesPerLine = choice.bytesPerLine;
    chosen.numerator = choice.interval.first;
    chosen.denominator = choice.interval.second;
    return chosen;
}

QString StreamFormat::text() const
{
    return QString("%1 %2x%3 at %4/%5 s").arg(fourcc).arg(width).arg(height).arg(numerator).arg(denominator);
}
