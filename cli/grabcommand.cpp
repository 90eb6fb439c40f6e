#include "grabcommand.h"

#include "commandoutput.h"
#include "frameimage.h"
#include "frameindex.h"
#include "camerastream.h"
#include "streamformat.h"

#include <badinput.h>
#include <ctlerror.h>
#include <nosuchcamera.h>

#include <imageacquisition/imageacquisition.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonObject>

using namespace Tarvello;
using namespace ImageAcquisition;

namespace {

QString suffixFor(const QString& type, const StreamFormat& format)
{
    if (type == "png")
        return "png";
    if (type == "jpeg" || format.fourcc == "MJPG")
        return "jpg";
    return format.fourcc.toLower();
}

} // namespace

QString GrabCommand::name() const { return "grab"; }
QString GrabCommand::summary() const
{
    return "Save frames as numbered PNG, JPEG or raw files (PREFIX-000001.png ...) with a side file "
           "listing frame number, time stamp, size and format. MJPG frames saved as JPEG or raw are "
           "stored as the camera sent them.";
}

void GrabCommand::setUp(QCommandLineParser& parser) const
{
    parser.addOption({{"n", "count"}, "Number of frames (default 1, or as many as --duration brings).", "N"});
    parser.addOption({"duration", "Grab for this many seconds.", "seconds"});
    parser.addOption({{"o", "output"}, "Folder for the files (default: the current one).", "dir", "."});
    parser.addOption({"prefix", "File name prefix (default: frame).", "name", "frame"});
    parser.addOption({"type", "png, jpeg or raw (default: png).", "type", "png"});
    parser.addOption({"index", "Side file; .json for JSON, else CSV (default: PREFIX.csv in the folder).", "file"});
    StreamFormat::addOptions(parser);
    CameraStream::addFollowOption(parser);
}

int GrabCommand::run(const QCommandLineParser& parser, CommandOutput& output)
{
    const QString type = parser.value("type").toLower() == "jpg" ? "jpeg" : parser.value("type").toLower();
    if (type != "png" && type != "jpeg" && type != "raw")
        throw BadInput(QString("--type takes png, jpeg or raw, not '%1'.").arg(parser.value("type")));
    bool countOk = true;
    bool durationOk = true;
    const int count = parser.isSet("count") ? parser.value("count").toInt(&countOk) : (parser.isSet("duration") ? 0 : 1);
    const double duration = parser.isSet("duration") ? parser.value("duration").toDouble(&durationOk) : 0.0;
    if (!countOk || count < 0 || !durationOk || duration < 0 || (count == 0 && duration <= 0))
        throw BadInput("--count takes a positive number of frames, --duration a positive number of seconds.");

    CameraStream stream(device(parser), parser, output);
    const StreamFormat format = stream.format();
    if (type != "raw" && !(type == "jpeg" && format.fourcc == "MJPG") && !FrameImage::canConvert(format.fourcc))
        throw BadInput(QString("%1 frames cannot be converted to %2; use --type raw.").arg(format.fourcc, type));

    const QDir folder(parser.value("output"));
    if (!folder.exists() && !QDir().mkpath(folder.path()))
        throw CtlError(QString("Cannot make the folder %1.").arg(folder.path()), CtlError::kFailed);
    const QString prefix = parser.value("prefix");
    const QString indexPath = parser.isSet("index") ? parser.value("index") : folder.filePath(prefix + ".csv");
    FrameIndex index(indexPath);

    QElapsedTimer clock;
    clock.start();
    stream.stopWaiting = [&] { return duration > 0 && clock.elapsed() >= duration * 1000.0; };
    stream.start();
    int saved = 0;
    int unreadable = 0;
    int unreadableInARow = 0;
    const QString suffix = suffixFor(type, format);
    while ((count == 0 || saved < count) && (duration <= 0 || clock.elapsed() < duration * 1000.0)) {
        IFrame* frame = nullptr;
        try {
            frame = stream.next(stream.patienceMs());
        } catch (const NoSuchCamera& gone) {
            throw NoSuchCamera(QString("%1 %2 frames had been saved in %3 (listed in %4).")
                                   .arg(gone.message())
                                   .arg(saved)
                                   .arg(folder.path(), indexPath));
        }
        if (!frame)
            continue;
        const QString file = QString("%1-%2.%3").arg(prefix).arg(saved + 1, 6, 10, QChar('0')).arg(suffix);
        const QString path = folder.filePath(file);
        bool written = false;
        if (type == "raw" || (type == "jpeg" && format.fourcc == "MJPG")) {
            QFile out(path);
            written = out.open(QIODevice::WriteOnly)
                      && out.write(reinterpret_cast<const char*>(frame->getData()), frame->getSize()) == frame->getSize();
        } else {
            const QImage image = FrameImage::convert(format, frame->getData(), frame->getSize());
            if (image.isNull()) {
                ++unreadable;
                stream.release(frame);
                if (++unreadableInARow >= FrameStream::kMaxUnusableInARow)
                    throw CtlError(QString("Gave up after %1 frames in a row that could not be decoded as %2 (%3 "
                                           "saved before). '--type raw' keeps frames as the camera sends them.")
                                       .arg(unreadableInARow)
                                       .arg(format.text())
                                       .arg(saved),
                                   CtlError::kFailed);
                continue;
            }
            unreadableInARow = 0;
            written = image.save(path, type == "png" ? "PNG" : "JPEG");
        }
        const IFrame::TimeStamp stamp = frame->getTimeStamp();
        const double seconds = double(stamp.seconds) + double(stamp.microseconds) / 1e6;
        index.add(frame->getFrameNumber(), seconds, frame->getSize(), format.fourcc, format.width, format.height, file);
        stream.release(frame);
        if (!written)
            throw CtlError(QString("Cannot write %1.").arg(path), CtlError::kFailed);
        ++saved;
    }
    if (unreadable > 0)
        output.err() << "Skipped " << unreadable << " frames that could not be decoded.\n";
    if (json(parser)) {
        output.printJson(QJsonObject{{"frames", saved}, {"format", format.fourcc}, {"width", format.width},
                                     {"height", format.height}, {"folder", folder.path()}, {"index", indexPath},
                                     {"skipped", unreadable}});
    } else {
        output.out() << "Saved " << saved << (saved == 1 ? " frame (" : " frames (") << format.text() << ") to "
                     << folder.path() << ", listed in " << indexPath << ".\n";
    }
    return 0;
}
