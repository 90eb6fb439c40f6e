#include "camerastream.h"

#include "commandoutput.h"

#include <badinput.h>
#include <camerareturn.h>
#include <nosuchcamera.h>
#include <opencamera.h>

#include <imageacquisition/imageacquisition.h>

#include <QDateTime>
#include <QElapsedTimer>
#include <QRegularExpression>

#include <cmath>

using namespace ImageAcquisition;
using namespace Tarvello;

void CameraStream::addFollowOption(QCommandLineParser& parser)
{
    parser.addOption({"follow", "When the camera is unplugged, wait for it (the same serial number) to come back, "
                                "up to SECONDS if given, and go on in the same format.",
                      "seconds"});
}

QStringList CameraStream::followArguments(const QStringList& arguments)
{
    static const QRegularExpression number("^\\d+(\\.\\d+)?$");
    QStringList result;
    for (int i = 0; i < arguments.size(); ++i) {
        if (arguments[i] != "--follow") {
            result << arguments[i];
        } else if (i + 1 < arguments.size() && number.match(arguments[i + 1]).hasMatch()) {
            result << "--follow=" + arguments[++i];
        } else {
            result << "--follow=0";
        }
    }
    return result;
}

CameraStream::CameraStream(const QString& selector, const QCommandLineParser& parser, CommandOutput& output)
    : m_output(output), m_open(std::make_unique<OpenCamera>(selector))
{
    if (parser.isSet("follow")) {
        bool ok = false;
        const double seconds = parser.value("follow").toDouble(&ok);
        if (!ok || seconds < 0 || !std::isfinite(seconds))
            throw BadInput("--follow takes a number of seconds to wait for the camera (or none: as long as it takes).");
        m_follow = seconds > 0 ? std::optional<std::chrono::milliseconds>(std::llround(seconds * 1000)) : std::nullopt;
    }
    m_format = StreamFormat::choose(m_open->camera(), parser);
    m_entry = m_open->entry();
}

CameraStream::~CameraStream() = default;

const CameraEntry& CameraStream::entry() const
{
    return m_entry;
}

IStreamingCamera& CameraStream::camera() const
{
    return m_open->camera();
}

void CameraStream::start()
{
    // Watching begins with the stream, so that a quick return is not missed.
    if (m_follow && !m_return)
        m_return = std::make_unique<CameraReturn>(m_entry);
    m_stream = std::make_unique<FrameStream>(m_open->camera(), m_entry.node, m_format.nominalRate());
}

IFrame* CameraStream::next(int timeoutMs)
{
    for (;;) {
        if (!m_stream) {
            followBack();
            if (!m_stream)
                return nullptr; // the command's own time ran out meanwhile
        }
        try {
            return m_stream->next(timeoutMs);
        } catch (const NoSuchCamera&) {
            if (!m_follow)
                throw;
        }
        // The stream and the camera that left go first (its frames are
        // back): a node still held open keeps the returning camera off it.
        m_stream.reset();
        m_open.reset();
        m_away.start();
        say(QString("%1 was unplugged; waiting for it to come back%2.")
                .arg(m_entry.serial,
                     *m_follow ? QString(" (up to %1 s)").arg(double(m_follow->value().count()) / 1000.0) : QString()));
    }
}

void CameraStream::followBack()
{
    const QString serial = m_entry.serial;
    std::optional<std::chrono::milliseconds> left = *m_follow;
    if (left)
        left = std::max(std::chrono::milliseconds(0), *left - std::chrono::milliseconds(m_away.elapsed()));
    const std::optional<CameraEntry> back = m_return->wait(left, stopWaiting);
    if (!back) {
        if (stopWaiting && stopWaiting())
            return;
        throw NoSuchCamera(QString("%1 did not come back within %2 s.")
                               .arg(serial)
                               .arg(double(m_follow->value_or(std::chrono::milliseconds(0)).count()) / 1000.0));
    }
    m_open = std::make_unique<OpenCamera>(back->serial);
    m_entry = m_open->entry();
    m_format = StreamFormat::chooseAgain(m_open->camera(), m_format);
    m_stream = std::make_unique<FrameStream>(m_open->camera(), m_entry.node, m_format.nominalRate());
    const double seconds = double(m_away.elapsed()) / 1000.0;
    say(QString("%1 is back (%2) after %3 s; streaming %4 again.")
            .arg(serial, m_open->entry().node)
            .arg(seconds, 0, 'f', 1)
            .arg(m_format.text()));
    if (returned)
        returned(seconds);
}

void CameraStream::release(IFrame* frame)
{
    if (m_stream)
        m_stream->release(frame);
}

int CameraStream::patienceMs() const
{
    return FrameStream::patienceFor(m_format.nominalRate());
}

void CameraStream::say(const QString& text)
{
    m_output.err() << QDateTime::currentDateTime().toString("yyyy-MM-dd HH:mm:ss.zzz") << "  " << text << '\n';
    m_output.err().flush();
}
