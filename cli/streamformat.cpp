#include "streamformat.h"

#include "intervaltext.h"

#include <badinput.h>
#include <ctlerror.h>
#include <layertext.h>

#include <imageacquisition/imageacquisition.h>

#include <QRegularExpression>
#include <QStringList>

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
    int formatIndex = camera.getCurrentFormatIndex();
    if (parser.isSet("format")) {
        QStringList offered;
        formatIndex = -1;
        for (int i = 0; i < camera.getFormatCount(); ++i) {
            const IPixelFormat* candidate = camera.getFormat(i);
            if (!candidate)
                continue;
            const QString fourcc = layerText(candidate->getFourCC());
            offered << fourcc;
            if (fourcc.compare(parser.value("format"), Qt::CaseInsensitive) == 0 && formatIndex < 0)
                formatIndex = i;
        }
        if (formatIndex < 0)
            throw BadInput(QString("No format '%1'; the camera offers %2.").arg(parser.value("format"), offered.join(", ")));
    }
    IPixelFormat* format = camera.getFormat(formatIndex);
    if (!format)
        throw BadInput("The camera offers no pixel format.");
    const bool sameFormat = formatIndex == camera.getCurrentFormatIndex();

    int resolutionIndex = sameFormat ? qMax(0, camera.getCurrentResolutionIndex()) : 0;
    if (parser.isSet("size")) {
        const QRegularExpressionMatch size = QRegularExpression("^(\\d+)[xX](\\d+)$").match(parser.value("size"));
        QStringList offered;
        resolutionIndex = -1;
        for (int i = 0; i < format->getResolutionCount(); ++i) {
            IResolution* r = format->getResolution(i);
            if (!r)
                continue;
            offered << QString("%1x%2").arg(r->getWidth()).arg(r->getHeight());
            if (size.hasMatch() && r->getWidth() == size.captured(1).toUInt() && r->getHeight() == size.captured(2).toUInt())
                resolutionIndex = i;
        }
        if (resolutionIndex < 0)
            throw BadInput(QString("No size '%1' in %2; it offers %3.")
                               .arg(parser.value("size"), layerText(format->getFourCC()), offered.join(", ")));
    }
    IResolution* resolution = format->getResolution(resolutionIndex);
    if (!resolution)
        throw BadInput(QString("%1 offers no frame size.").arg(layerText(format->getFourCC())));

    int intervalIndex = sameFormat && resolutionIndex == camera.getCurrentResolutionIndex()
                            ? qMax(0, camera.getCurrentFrameIntervalIndex())
                            : 0;
    if (parser.isSet("interval") || parser.isSet("fps")) {
        const QRegularExpressionMatch fraction = QRegularExpression("^(\\d+)/(\\d+)$").match(parser.value("interval"));
        bool rateOk = false;
        const double rate = parser.value("fps").toDouble(&rateOk);
        if ((parser.isSet("interval") && !fraction.hasMatch()) || (parser.isSet("fps") && (!rateOk || rate <= 0)))
            throw BadInput("--interval takes N/D (such as 1/30), --fps a positive rate.");
        QStringList offered;
        intervalIndex = -1;
        double best = 1e300;
        for (int i = 0; i < resolution->getFrameIntervalCount(); ++i) {
            IFrameInterval* interval = resolution->getFrameInterval(i);
            if (!interval || interval->getNumerator() <= 0 || interval->getDenominator() <= 0)
                continue;
            offered << QString("%1/%2").arg(interval->getNumerator()).arg(interval->getDenominator());
            if (parser.isSet("interval")) {
                if (qlonglong(interval->getNumerator()) * fraction.captured(2).toLongLong()
                    == qlonglong(interval->getDenominator()) * fraction.captured(1).toLongLong())
                    intervalIndex = i;
            } else {
                const double distance = std::fabs(double(interval->getDenominator()) / interval->getNumerator() - rate);
                if (distance < best) {
                    best = distance;
                    intervalIndex = i;
                }
            }
        }
        if (intervalIndex < 0)
            throw BadInput(QString("No interval '%1' at this size; it offers %2.")
                               .arg(parser.value("interval"), offered.join(", ")));
    }
    IFrameInterval* interval = resolution->getFrameInterval(intervalIndex);
    if (!interval || interval->getNumerator() <= 0 || interval->getDenominator() <= 0)
        throw BadInput("This size offers no frame interval.");
    if (!camera.setFormat(formatIndex, resolutionIndex, intervalIndex))
        throw CtlError("The camera refused the format (is it streaming in another program?).", CtlError::kRefused);

    StreamFormat chosen;
    chosen.fourcc = layerText(format->getFourCC());
    chosen.compressed = format->isCompressed();
    chosen.width = int(resolution->getWidth());
    chosen.height = int(resolution->getHeight());
    chosen.bytesPerLine = resolution->getBytesPerLine();
    chosen.numerator = interval->getNumerator();
    chosen.denominator = interval->getDenominator();
    return chosen;
}

QString StreamFormat::text() const
{
    return QString("%1 %2x%3 at %4/%5 s").arg(fourcc).arg(width).arg(height).arg(numerator).arg(denominator);
}
