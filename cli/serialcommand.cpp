#include "serialcommand.h"

#include "commandoutput.h"
#include "processholders.h"
#include "serialline.h"

#include <badinput.h>
#include <cameraselector.h>
#include <ctlerror.h>
#include <nosuchcamera.h>
#include <refused.h>

#include <QDateTime>
#include <QElapsedTimer>

#include <optional>

using namespace Tarvello;

namespace {

// Listing the cameras opens every video node, so a quiet line is not
// checked more often than this.
constexpr int kPresenceCheckMs = 2000;

// A camera may send a NUL; what follows it on that line is not text.
QString lineText(const QByteArray& line)
{
    const int end = line.indexOf('\0');
    return QString::fromUtf8(line.constData(), end < 0 ? line.size() : end).remove('\r');
}

QString stamped(const QString& text)
{
    return QDateTime::currentDateTime().toString("yyyy-MM-dd HH:mm:ss.zzz") + "  " + text + '\n';
}

bool isListed(const CameraEntry& camera)
{
    for (const CameraEntry& present : CameraSelector::presentCameras()) {
        if (present.node == camera.node && present.serial == camera.serial)
            return true;
    }
    return false;
}

} // namespace

QString SerialCommand::name() const { return "serial"; }
QString SerialCommand::summary() const
{
    return "Print what the maker's camera sends on its own USB serial line (115200 8N1), each line with the "
           "time it came; --send sends one line first.";
}

void SerialCommand::setUp(QCommandLineParser& parser) const
{
    parser.addOption({"port", "The serial line (default: the camera's own, as 'list' shows it).", "path"});
    parser.addOption({"send", "A line to send (on a line of its own: carriage returns before and after).", "text"});
    parser.addOption({"duration", "Seconds to listen (default: until interrupted; 2 with --send).", "seconds"});
}

int SerialCommand::run(const QCommandLineParser& parser, CommandOutput& output)
{
    bool ok = true;
    const double duration = parser.isSet("duration") ? parser.value("duration").toDouble(&ok)
                                                     : (parser.isSet("send") ? 2.0 : 0.0);
    if (!ok || duration < 0)
        throw BadInput("--duration takes a number of seconds.");
    // The camera's own line, unless one is named; a camera that goes away
    // while its line is quiet is noticed by looking whether it is listed.
    std::optional<CameraEntry> camera;
    if (!parser.isSet("port") || !device(parser).isEmpty()) {
        const QVector<CameraEntry> cameras = CameraSelector::presentCameras();
        camera = cameras.at(CameraSelector(cameras).select(device(parser)));
        if (!camera->kelvane)
            output.err() << "Note: " << camera->name << " is not one of the maker's cameras; it may have no serial line.\n";
    }
    const QString port = parser.isSet("port") ? parser.value("port") : camera->serialLine;
    if (port.isEmpty())
        throw CtlError(QString("%1 has no serial line that the camera layer knows of; name one with --port.")
                           .arg(camera->name),
                       CtlError::kFailed);

    const QStringList holders = ProcessHolders::of(port);
    if (!holders.isEmpty())
        throw Refused(QString("%1 is held by %2; close it first.").arg(port, holders.join(", ")));
    SerialLine serial(port);
    const auto gone = [&] {
        return NoSuchCamera(QString("The camera was unplugged while streaming. %1 went away.").arg(port));
    };
    if (parser.isSet("send") && !serial.sendLine(parser.value("send").toUtf8()))
        throw CtlError(QString("%1 did not take the line to send.").arg(port), CtlError::kFailed);

    QElapsedTimer clock;
    clock.start();
    QElapsedTimer quiet;
    quiet.start();
    QByteArray pending;
    while (duration <= 0 || clock.elapsed() < duration * 1000.0) {
        const SerialLine::Status status = serial.read(pending, 100);
        if (status == SerialLine::Status::Gone)
            throw gone();
        if (status == SerialLine::Status::Timeout) {
            if (camera && quiet.elapsed() >= kPresenceCheckMs) {
                if (!isListed(*camera))
                    throw gone();
                quiet.restart();
            }
            continue;
        }
        quiet.restart();
        int end;
        while ((end = pending.indexOf('\n')) >= 0) {
            const QString text = lineText(pending.left(end));
            pending.remove(0, end + 1);
            if (!text.trimmed().isEmpty())
                output.out() << stamped(text);
        }
        output.out().flush();
    }
    if (!lineText(pending).trimmed().isEmpty())
        output.out() << stamped(lineText(pending));
    return 0;
}
