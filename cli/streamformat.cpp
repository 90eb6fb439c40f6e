#include "streamformat.h"

#include <badinput.h>
#include <ctlerror.h>
#include <formatchoice.h>

#include <imageacquisition/imageacquisition.h>

#include <QRegularExpression>

#include <cmath>

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
    FormatChoice::Request request;
    if (parser.isSet("format"))
        request.fourcc = parser.value("format");
    if (parser.isSet("size")) {
        const QRegularExpressionMatch size = QRegularExpression("^(\\d+)[xX](\\d+)$").match(parser.value("size"));
        if (!size.hasMatch())
            throw BadInput("--size takes WIDTHxHEIGHT (such as 1280x720).");
        request.size = FormatChoice::Size{size.captured(1).toUInt(), size.captured(2).toUInt()};
    }
    if (parser.isSet("interval")) {
        const QRegularExpressionMatch fraction = QRegularExpression("^(\\d+)/(\\d+)$").match(parser.value("interval"));
        if (!fraction.hasMatch())
            throw BadInput("--interval takes N/D (such as 1/30).");
        request.interval = FormatChoice::Interval{fraction.captured(1).toInt(), fraction.captured(2).toInt()};
    }
    if (parser.isSet("fps")) {
        bool ok = false;
        const double rate = parser.value("fps").toDouble(&ok);
        if (!ok || !(rate > 0) || !std::isfinite(rate))
            throw BadInput("--fps takes a positive rate (such as 30).");
        request.rate = rate;
    }
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
