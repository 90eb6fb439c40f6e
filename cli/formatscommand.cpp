#include "formatscommand.h"

#include "commandoutput.h"
#include "intervaltext.h"

#include <layertext.h>
#include <opencamera.h>

#include <imageacquisition/imageacquisition.h>

#include <QJsonArray>
#include <QJsonObject>

using namespace Tarvello;
using namespace ImageAcquisition;

QString FormatsCommand::name() const { return "formats"; }
QString FormatsCommand::summary() const
{
    return "Show the pixel formats with their sizes and frame intervals; * marks the current ones.";
}
void FormatsCommand::setUp(QCommandLineParser&) const {}

int FormatsCommand::run(const QCommandLineParser& parser, CommandOutput& output)
{
    const OpenCamera open(device(parser));
    ICamera& camera = open.camera();
    const auto mark = [](bool current) { return current ? "* " : "  "; };
    QJsonArray formats;
    QTextStream& out = output.out();
    for (int f = 0; f < camera.getFormatCount(); ++f) {
        IPixelFormat* format = camera.getFormat(f);
        if (!format)
            continue;
        const bool currentFormat = f == camera.getCurrentFormatIndex();
        const QString fourcc = layerText(format->getFourCC());
        QString flags;
        if (format->isCompressed())
            flags += " (Compressed)";
        if (format->isEmulated())
            flags += " (Emulated)";
        if (!json(parser))
            out << mark(currentFormat) << f << ": " << fourcc << "  " << layerText(format->getDescription()) << flags
                << '\n';
        QJsonArray sizes;
        for (int r = 0; r < format->getResolutionCount(); ++r) {
            IResolution* resolution = format->getResolution(r);
            if (!resolution)
                continue;
            const bool currentSize = currentFormat && r == camera.getCurrentResolutionIndex();
            QJsonArray intervals;
            QStringList intervalTexts;
            for (int i = 0; i < resolution->getFrameIntervalCount(); ++i) {
                IFrameInterval* interval = resolution->getFrameInterval(i);
                if (!interval)
                    continue;
                const bool current = currentSize && i == camera.getCurrentFrameIntervalIndex();
                intervals.append(QJsonObject{{"numerator", interval->getNumerator()},
                                             {"denominator", interval->getDenominator()},
                                             {"current", current}});
                intervalTexts << (current ? "*" : "") + IntervalText::of(*interval);
            }
            sizes.append(QJsonObject{{"width", int(resolution->getWidth())},
                                     {"height", int(resolution->getHeight())},
                                     {"bytes_per_line", resolution->getBytesPerLine()},
                                     {"current", currentSize},
                                     {"intervals", intervals}});
            if (!json(parser))
                out << "    " << mark(currentSize) << resolution->getWidth() << 'x' << resolution->getHeight()
                    << ": " << intervalTexts.join(", ") << '\n';
        }
        formats.append(QJsonObject{{"index", f}, {"fourcc", fourcc},
                                   {"description", layerText(format->getDescription())},
                                   {"compressed", format->isCompressed()}, {"emulated", format->isEmulated()},
                                   {"current", currentFormat}, {"sizes", sizes}});
    }
    if (json(parser))
        output.printJson(formats);
    return 0;
}
