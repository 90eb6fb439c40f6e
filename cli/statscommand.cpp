#include "statscommand.h"

#include "commandoutput.h"
#include "camerastream.h"
#include "streamformat.h"
#include "streamstatistics.h"

#include <badinput.h>
#include <nosuchcamera.h>

#include <imageacquisition/imageacquisition.h>

#include <QElapsedTimer>

using namespace Tarvello;
using namespace ImageAcquisition;

QString StatsCommand::name() const { return "stats"; }
QString StatsCommand::summary() const
{
    return "Stream for a while and report the delivered frame rate against the nominal one, gaps in the "
           "frame numbers, empty frames, late frames and the spread of the intervals.";
}

void StatsCommand::setUp(QCommandLineParser& parser) const
{
    parser.addOption({"duration", "Seconds to stream (default 5; with --watch, until interrupted).", "seconds"});
    parser.addOption({"watch", "Print a line every second."});
    StreamFormat::addOptions(parser);
    CameraStream::addFollowOption(parser);
}

int StatsCommand::run(const QCommandLineParser& parser, CommandOutput& output)
{
    bool ok = true;
    const double duration = parser.isSet("duration") ? parser.value("duration").toDouble(&ok)
                                                     : (parser.isSet("watch") ? 0.0 : 5.0);
    if (!ok || duration < 0 || (duration == 0 && !parser.isSet("watch")))
        throw BadInput("--duration takes a positive number of seconds.");

    CameraStream stream(device(parser), parser, output);
    const StreamFormat format = stream.format();
    if (!json(parser))
        output.out() << "Streaming " << format.text() << " from " << stream.entry().name << ".\n";
    output.out().flush();
    StreamStatistics statistics(format.nominalRate());
    QElapsedTimer clock;
    clock.start();
    stream.stopWaiting = [&] { return duration > 0 && clock.elapsed() >= duration * 1000.0; };
    // The camera that came back numbers its frames anew.
    stream.returned = [&](double) { statistics.restartNumbering(); };
    stream.start();
    qint64 nextLine = 1000;
    try {
        while (duration <= 0 || clock.elapsed() < duration * 1000.0) {
            if (IFrame* frame = stream.next(100)) {
                const IFrame::TimeStamp stamp = frame->getTimeStamp();
                statistics.add(frame->getFrameNumber(), double(stamp.seconds) + double(stamp.microseconds) / 1e6,
                               frame->getSize() > 0 && frame->getData());
                stream.release(frame);
            }
            if (parser.isSet("watch") && clock.elapsed() >= nextLine) {
                output.out() << statistics.windowLine(nextLine / 1000.0) << '\n';
                output.out().flush();
                statistics.startWindow();
                nextLine += 1000;
            }
        }
    } catch (const NoSuchCamera& gone) {
        output.out() << statistics.summary();
        throw;
    }
    if (json(parser))
        output.printJson(statistics.toJson());
    else
        output.out() << statistics.summary();
    return 0;
}
