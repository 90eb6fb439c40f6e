#include "formatchoice.h"

#include "badinput.h"
#include "layertext.h"

#include <imageacquisition/imageacquisition.h>

#include <QRegularExpression>
#include <QStringList>

#include <cmath>
#include <limits>

namespace Tarvello {

using namespace ImageAcquisition;

namespace {

QString sizeText(FormatChoice::Size size)
{
    return QString("%1x%2").arg(size.first).arg(size.second);
}

QString intervalText(FormatChoice::Interval interval)
{
    return QString("%1/%2").arg(interval.first).arg(interval.second);
}

FormatChoice::Size sizeOf(const IResolution& resolution)
{
    return {resolution.getWidth(), resolution.getHeight()};
}

FormatChoice::Interval intervalOf(const IFrameInterval& interval)
{
    return {interval.getNumerator(), interval.getDenominator()};
}

bool usable(const IFrameInterval* interval)
{
    return interval && interval->getNumerator() > 0 && interval->getDenominator() > 0;
}

// Equal as fractions: 2/60 is 1/30.
bool sameInterval(FormatChoice::Interval a, FormatChoice::Interval b)
{
    return qlonglong(a.first) * b.second == qlonglong(b.first) * a.second;
}

} // namespace

FormatChoice::Request FormatChoice::requestFromText(const QString& fourcc, const QString& size,
                                                    const QString& interval, const QString& rate)
{
    Request request;
    if (!fourcc.isEmpty())
        request.fourcc = fourcc;
    if (!size.isEmpty()) {
        const QRegularExpressionMatch match = QRegularExpression("^(\\d+)[xX](\\d+)$").match(size);
        if (!match.hasMatch())
            throw BadInput("--size takes WIDTHxHEIGHT (such as 1280x720).");
        request.size = Size{match.captured(1).toUInt(), match.captured(2).toUInt()};
    }
    if (!interval.isEmpty()) {
        const QRegularExpressionMatch match = QRegularExpression("^(\\d+)/(\\d+)$").match(interval);
        if (!match.hasMatch())
            throw BadInput("--interval takes N/D (such as 1/30).");
        request.interval = Interval{match.captured(1).toInt(), match.captured(2).toInt()};
    }
    if (!rate.isEmpty()) {
        bool ok = false;
        const double value = rate.toDouble(&ok);
        if (!ok || !(value > 0) || !std::isfinite(value))
            throw BadInput("--fps takes a positive rate (such as 30).");
        request.rate = value;
    }
    return request;
}

FormatChoice::FormatChoice(ICamera& camera, const Request& request)
{
    // What is in force now, so that what is not asked for can stay.
    IPixelFormat* current = camera.getFormat(camera.getCurrentFormatIndex());
    IResolution* currentResolution = current ? current->getResolution(camera.getCurrentResolutionIndex()) : nullptr;
    IFrameInterval* currentInterval =
        currentResolution ? currentResolution->getFrameInterval(camera.getCurrentFrameIntervalIndex()) : nullptr;
    const QString wantedFourcc = request.fourcc ? *request.fourcc : current ? layerText(current->getFourCC()) : QString();

    // Each search notes the first entry offered, taken when what is in
    // force is not offered under the new choices and nothing was asked for.
    QStringList offered;
    IPixelFormat* format = nullptr;
    int first = -1;
    for (int i = 0; i < camera.getFormatCount(); ++i) {
        IPixelFormat* candidate = camera.getFormat(i);
        if (!candidate)
            continue;
        first = first < 0 ? i : first;
        offered << layerText(candidate->getFourCC());
        if (!format && offered.last().compare(wantedFourcc, Qt::CaseInsensitive) == 0) {
            format = candidate;
            formatIndex = i;
        }
    }
    if (!format && !request.fourcc && first >= 0) {
        formatIndex = first;
        format = camera.getFormat(first);
    }
    if (!format) {
        if (offered.isEmpty())
            throw BadInput("The camera offers no pixel format.");
        throw BadInput(QString("The camera has no format '%1'; it offers %2.").arg(wantedFourcc, offered.join(", ")));
    }
    fourcc = layerText(format->getFourCC());
    compressed = format->isCompressed();

    std::optional<Size> wantedSize = request.size;
    if (!wantedSize && currentResolution)
        wantedSize = sizeOf(*currentResolution);
    offered.clear();
    IResolution* resolution = nullptr;
    first = -1;
    for (int i = 0; i < format->getResolutionCount(); ++i) {
        IResolution* candidate = format->getResolution(i);
        if (!candidate)
            continue;
        first = first < 0 ? i : first;
        offered << sizeText(sizeOf(*candidate));
        if (!resolution && wantedSize && sizeOf(*candidate) == *wantedSize) {
            resolution = candidate;
            resolutionIndex = i;
        }
    }
    if (!resolution && !request.size && first >= 0) {
        resolutionIndex = first;
        resolution = format->getResolution(first);
    }
    if (!resolution) {
        if (offered.isEmpty())
            throw BadInput(QString("%1 offers no frame size.").arg(fourcc));
        throw BadInput(QString("%1 has no size %2; it offers %3.").arg(fourcc, sizeText(*request.size), offered.join(", ")));
    }
    width = resolution->getWidth();
    height = resolution->getHeight();
    bytesPerLine = resolution->getBytesPerLine();

    const bool byRate = request.rate && !request.interval;
    std::optional<Interval> wanted = request.interval;
    if (!wanted && usable(currentInterval))
        wanted = intervalOf(*currentInterval);
    offered.clear();
    IFrameInterval* chosen = nullptr;
    first = -1;
    double closest = std::numeric_limits<double>::infinity();
    for (int i = 0; i < resolution->getFrameIntervalCount(); ++i) {
        IFrameInterval* candidate = resolution->getFrameInterval(i);
        if (!usable(candidate))
            continue;
        first = first < 0 ? i : first;
        offered << intervalText(intervalOf(*candidate));
        if (byRate) {
            const double distance = std::fabs(double(candidate->getDenominator()) / candidate->getNumerator() - *request.rate);
            if (distance < closest) {
                closest = distance;
                chosen = candidate;
                intervalIndex = i;
            }
        } else if (!chosen && wanted && sameInterval(intervalOf(*candidate), *wanted)) {
            chosen = candidate;
            intervalIndex = i;
        }
    }
    if (!chosen && !request.interval && first >= 0) {
        intervalIndex = first;
        chosen = resolution->getFrameInterval(first);
    }
    if (!chosen) {
        if (offered.isEmpty())
            throw BadInput(QString("%1 at %2 offers no frame interval.").arg(fourcc, sizeText({width, height})));
        throw BadInput(QString("%1 at %2 has no interval %3; it offers %4.")
                           .arg(fourcc, sizeText({width, height}), intervalText(*request.interval), offered.join(", ")));
    }
    interval = intervalOf(*chosen);
}

} // namespace Tarvello
