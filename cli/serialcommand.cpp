#include "serialcommand.h"

#include "commandoutput.h"
#include "processholders.h"

#include <badinput.h>
#include <cameraselector.h>
#include <ctlerror.h>
#include <refused.h>

#include <QDateTime>
#include <QElapsedTimer>
#include <QSerialPort>

using namespace Tarvello;

namespace {

const char* const kDefaultPort = "/dev/ttyACM0";

// A camera may send a NUL; what follows it on that line is not text.
QString lineText(const QByteArray& line)
{
    const int end = line.indexOf('\0');
    return QString::fromUtf8(line.constData(), end < 0 ? line.size() : end).remove('\r');
}

} // namespace

QString SerialCommand::name() const { return "serial"; }
QString SerialCommand::summary() const
{
    return "Print what the maker's camera sends on its USB serial line (115200 8N1), each line with the time "
           "it came; --send sends one line first.";
}

void SerialCommand::setUp(QCommandLineParser& parser) const
{
    parser.addOption({"port", QString("The serial line (default %1).").arg(kDefaultPort), "path", kDefaultPort});
    parser.addOption({"send", "A line to send (a carriage return is added).", "text"});
    parser.addOption({"duration", "Seconds to listen (default: until interrupted; 2 with --send).", "seconds"});
}

int SerialCommand::run(const QCommandLineParser& parser, CommandOutput& output)
{
    bool ok = true;
    const double duration = parser.isSet("duration") ? parser.value("duration").toDouble(&ok)
                                                     : (parser.isSet("send") ? 2.0 : 0.0);
    if (!ok || duration < 0)
        throw BadInput("--duration takes a number of seconds.");
    // The maker's camera brings its serial line with it; listing the
    // cameras first makes sure it has been found (and, for a virtual one,
    // linked where the window looks for it).
    const QVector<CameraEntry> cameras = CameraSelector::presentCameras();
    if (!device(parser).isEmpty() || !cameras.isEmpty()) {
        const CameraEntry& camera = cameras.at(CameraSelector(cameras).select(device(parser)));
        if (!camera.kelvane)
            output.err() << "Note: " << camera.name << " is not one of the maker's cameras; it may have no serial line.\n";
    }

    const QString port = parser.value("port");
    const QStringList holders = ProcessHolders::of(port);
    if (!holders.isEmpty())
        throw Refused(QString("%1 is held by %2; close it first.").arg(port, holders.join(", ")));
    QSerialPort serial;
    serial.setPortName(port);
    serial.setBaudRate(QSerialPort::Baud115200);
    serial.setDataBits(QSerialPort::Data8);
    serial.setParity(QSerialPort::NoParity);
    serial.setStopBits(QSerialPort::OneStop);
    serial.setFlowControl(QSerialPort::NoFlowControl);
    if (!serial.open(QIODevice::ReadWrite))
        throw CtlError(QString("Cannot open %1: %2. 'tarvello-ctl doctor' may tell why.").arg(port, serial.errorString()),
                       serial.error() == QSerialPort::PermissionError ? CtlError::kRefused : CtlError::kFailed);
    if (parser.isSet("send")) {
        serial.write(parser.value("send").toUtf8() + "\r");
        serial.waitForBytesWritten(1000);
    }

    QElapsedTimer clock;
    clock.start();
    QByteArray pending;
    while (duration <= 0 || clock.elapsed() < duration * 1000.0) {
        if (!serial.waitForReadyRead(100)) {
            if (serial.error() == QSerialPort::ResourceError)
                throw CtlError(QString("%1 went away: the camera was unplugged.").arg(port), CtlError::kNoSuchCamera);
            continue;
        }
        pending += serial.readAll();
        int end;
        while ((end = pending.indexOf('\n')) >= 0) {
            const QString text = lineText(pending.left(end));
            pending.remove(0, end + 1);
            if (!text.trimmed().isEmpty())
                output.out() << QDateTime::currentDateTime().toString("yyyy-MM-dd HH:mm:ss.zzz") << "  " << text << '\n';
        }
        output.out().flush();
    }
    if (!lineText(pending).trimmed().isEmpty())
        output.out() << QDateTime::currentDateTime().toString("yyyy-MM-dd HH:mm:ss.zzz") << "  " << lineText(pending) << '\n';
    return 0;
}
