#pragma once

#include <QElapsedTimer>
#include <QString>

namespace ImageAcquisition {
class IFrame;
class IStreamingCamera;
}

// A running stream, stopped and its buffers released however the command
// ends. Frames with a picture are handed out one at a time; the layer
// never blocks, so waiting is done here.
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
    int patienceMs() const;
    void release(ImageAcquisition::IFrame* frame);

private:
    bool cameraPresent() const;

    ImageAcquisition::IStreamingCamera& m_camera;
    QString m_node;
    double m_rate;
    QElapsedTimer m_sinceFrame;
};
