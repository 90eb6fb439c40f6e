#pragma once

#include <QElapsedTimer>
#include <QString>

namespace ImageAcquisition {
class IFrame;
class IStreamingCamera;
}

// A running stream, stopped and its buffers released however the command
// ends. Frames with a picture are handed out one at a time; between them
// the command sleeps in the layer's waitForFrame, which also tells at once
// when the camera is unplugged.
class FrameStream
{
public:
    // Throws when buffers cannot be allocated or the stream cannot start.
    FrameStream(ImageAcquisition::IStreamingCamera& camera, const QString& cameraNode, double nominalRate);
    ~FrameStream();
    FrameStream(const FrameStream&) = delete;
    FrameStream& operator=(const FrameStream&) = delete;

    // The next frame with a picture, or null when none came within
    // timeoutMs. Throws NoSuchCamera when the camera has been unplugged, and
    // CtlError when a camera still present has sent nothing for ten times
    // the patience, so that no command waits for ever.
    ImageAcquisition::IFrame* next(int timeoutMs);
    // How long to wait for one frame before asking whether the camera is gone.
    int patienceMs() const { return patienceFor(m_rate); }
    static int patienceFor(double rate);
    // Frames in a row that a command may find unusable (undecodable, cut
    // short) before it gives up: a camera or driver that sends only those
    // would otherwise keep it streaming for ever, saving nothing.
    static constexpr int kMaxUnusableInARow = 20;
    void release(ImageAcquisition::IFrame* frame);

private:
    bool cameraPresent() const;
    // Throws when the camera has gone or has been silent far too long.
    void checkAlive();

    ImageAcquisition::IStreamingCamera& m_camera;
    QString m_node;
    double m_rate;
    QElapsedTimer m_sinceFrame;
    // Across calls: a caller that asks with short timeouts must not keep
    // the check from ever coming due.
    QElapsedTimer m_sinceCheck;
};
