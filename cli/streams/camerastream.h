#pragma once

#include "framestream.h"
#include "streamformat.h"

#include <cameraentry.h>

#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class CommandOutput;

namespace ImageAcquisition {
class IFrame;
class IStreamingCamera;
}

namespace Tarvello {
class CameraReturn;
class OpenCamera;
}

// The camera a streaming command (grab, record, stats) takes its frames
// from, in the format its options choose. With --follow it follows the
// camera: when it is unplugged, it waits for the same serial number to come
// back (up to the given seconds, or as long as it takes), opens it again in
// the same format and goes on; each event is printed with its time.
class CameraStream
{
public:
    // --follow [SECONDS], written as --follow=SECONDS for the parser (see
    // followArguments).
    static void addFollowOption(QCommandLineParser& parser);
    // The command line with a bare "--follow" (no number after it) turned
    // into "--follow=0" and "--follow N" into "--follow=N": the parser
    // knows no option whose value may be left out.
    static QStringList followArguments(const QStringList& arguments);

    // Opens the camera the selector names and makes the chosen format
    // current; does not stream yet. Throws as OpenCamera and StreamFormat do.
    CameraStream(const QString& selector, const QCommandLineParser& parser, CommandOutput& output);
    ~CameraStream();
    CameraStream(const CameraStream&) = delete;
    CameraStream& operator=(const CameraStream&) = delete;

    const StreamFormat& format() const { return m_format; }
    const Tarvello::CameraEntry& entry() const;
    ImageAcquisition::IStreamingCamera& camera() const;
    bool follows() const { return m_follow.has_value(); }

    // Throws as FrameStream does.
    void start();
    // As FrameStream::next, following an unplug when asked to. Throws
    // NoSuchCamera when the camera is gone and not followed, or did not come
    // back in time; returns null when stopWaiting says so while it waits.
    ImageAcquisition::IFrame* next(int timeoutMs);
    void release(ImageAcquisition::IFrame* frame);
    int patienceMs() const;

    // Asked while the camera is away: true ends the wait (the command's
    // own time is up).
    std::function<bool()> stopWaiting;
    // Told each return, with the seconds the camera was away.
    std::function<void(double secondsAway)> returned;

private:
    // Waits for the camera to come back and streams again; leaves no stream
    // when stopWaiting ended the wait.
    void followBack();
    void say(const QString& text);

    CommandOutput& m_output;
    // Null while the camera is away: its node is closed at once, so that
    // the kernel can give the camera the same node when it comes back.
    std::unique_ptr<Tarvello::OpenCamera> m_open;
    Tarvello::CameraEntry m_entry;
    StreamFormat m_format;
    std::unique_ptr<FrameStream> m_stream;
    // Not following: nothing; following: the limit (nothing: no limit).
    std::optional<std::optional<std::chrono::milliseconds>> m_follow;
    std::unique_ptr<Tarvello::CameraReturn> m_return;
    QElapsedTimer m_away;
};
