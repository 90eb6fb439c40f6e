#include "recordcommand.h"

#include "commandoutput.h"
#include "camerastream.h"
#include "streamformat.h"
#include "videorecorder.h"

#include <badinput.h>
#include <ctlerror.h>
#include <nosuchcamera.h>

#include <imageacquisition/imageacquisition.h>

#include <QElapsedTimer>
#include <QJsonObject>

using namespace Tarvello;
using namespace ImageAcquisition;

QString RecordCommand::name() const { return "record"; }
QString RecordCommand::summary() const
{
    return "Record a video file (Matroska by default). MJPG is stored as the camera sent it; raw formats "
           "are encoded losslessly with FFV1. The frames keep their time stamps.";
}

void RecordCommand::setUp(QCommandLineParser& parser) const
{
    parser.addOption({{"o", "output"}, "The file (default recording.mkv); its suffix picks the container.",
                      "file", "recording.mkv"});
    parser.addOption({{"n", "count"}, "Number of frames.", "N"});
    parser.addOption({"duration", "Seconds to record (default 5 when no --count is given).", "seconds"});
    StreamFormat::addOptions(parser);
    CameraStream::addFollowOption(parser);
}

int RecordCommand::run(const QCommandLineParser& parser, CommandOutput& output)
{
    bool countOk = true;
    bool durationOk = true;
    const int count = parser.isSet("count") ? parser.value("count").toInt(&countOk) : 0;
    const double duration = parser.isSet("duration") ? parser.value("duration").toDouble(&durationOk)
                                                     : (parser.isSet("count") ? 0.0 : 5.0);
    if (!countOk || count < 0 || !durationOk || duration < 0 || (count == 0 && duration <= 0))
        throw BadInput("--count takes a positive number of frames, --duration a positive number of seconds.");

    CameraStream stream(device(parser), parser, output);
    const StreamFormat format = stream.format();
    const QString path = parser.value("output");
    VideoRecorder recorder(path, format);
    int recorded = 0;
    int skipped = 0;
    int skippedInARow = 0;
    {
        QElapsedTimer clock;
        clock.start();
        // Frames keep their own time stamps, so a camera that comes back
        // leaves its time away as a gap in the one file.
        stream.stopWaiting = [&] { return duration > 0 && clock.elapsed() >= duration * 1000.0; };
        stream.start();
        while ((count == 0 || recorded < count) && (duration <= 0 || clock.elapsed() < duration * 1000.0)) {
            IFrame* frame = nullptr;
            try {
                frame = stream.next(stream.patienceMs());
            } catch (const NoSuchCamera& gone) {
                recorder.finish();
                throw NoSuchCamera(QString("%1 %2 holds the %3 frames recorded before.")
                                       .arg(gone.message(), path)
                                       .arg(recorded));
            }
            if (!frame)
                continue;
            const IFrame::TimeStamp stamp = frame->getTimeStamp();
            bool stored = false;
            try {
                stored = recorder.write(frame->getData(), frame->getSize(), stamp.seconds * 1000000 + stamp.microseconds);
            } catch (...) {
                stream.release(frame);
                throw;
            }
            stream.release(frame);
            if (stored) {
                ++recorded;
                skippedInARow = 0;
            } else {
                ++skipped;
                if (++skippedInARow >= FrameStream::kMaxUnusableInARow) {
                    recorder.finish();
                    throw CtlError(QString("Gave up after %1 frames in a row that could not be recorded as %2 (cut "
                                           "short, or no picture); %3 holds the %4 frames recorded before.")
                                       .arg(skippedInARow)
                                       .arg(format.text(), path)
                                       .arg(recorded),
                                   CtlError::kFailed);
                }
            }
        }
    }
    recorder.finish();
    if (skipped > 0)
        output.err() << "Left out " << skipped << " frames that were cut short or held no picture of "
                     << format.text() << ".\n";
    const QString how = format.fourcc == "MJPG" ? "stored as sent" : "encoded losslessly";
    if (json(parser))
        output.printJson(QJsonObject{{"file", path}, {"frames", recorded}, {"format", format.fourcc},
                                     {"codec", recorder.codecName()}, {"width", format.width},
                                     {"height", format.height}, {"skipped", skipped}});
    else
        output.out() << "Recorded " << recorded << " frames (" << format.text() << ", " << recorder.codecName() << ", "
                     << how << ") to " << path << ".\n";
    return 0;
}
