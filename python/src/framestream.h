#pragma once

#include "frame.h"
#include "framearrays.h"

#include <cameraevents.h>
#include <camerareturn.h>
#include <formatchoice.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>

namespace TarvelloPython {

class PyCamera;

// A running stream of one camera, from construction until close() (or
// destruction). next() waits for the layer's next frame without the GIL
// and without spinning: it sleeps in the layer's waitForFrame, which wakes
// it when a frame is ready and at once when the camera is unplugged. The
// hot-plug watcher is the fall-back for a layer whose wait cannot tell.
class FrameStream
{
public:
    // Starts streaming in the camera's current format. Throws Refused when
    // the camera cannot stream (busy, or another stream runs), CameraGone
    // when it was unplugged, std::invalid_argument for a format without an
    // array layout when decode is true.
    // followSeconds: when the camera is unplugged, wait for it (the same
    // serial number) to come back, up to that long (0: as long as it
    // takes), open it again in the same format and go on; nothing: end
    // with CameraGone.
    FrameStream(std::shared_ptr<PyCamera> camera, bool decode, double timeoutSeconds, int buffers,
                std::optional<double> followSeconds = std::nullopt);
    ~FrameStream();
    FrameStream(const FrameStream&) = delete;
    FrameStream& operator=(const FrameStream&) = delete;

    // The next frame, or nothing once the stream is closed (also by another
    // thread while this one waits). Throws StreamTimeout when no frame comes
    // within the timeout, CameraGone once the camera is unplugged.
    std::optional<Frame> next();
    // Stops the stream; when another thread waits in next() right now, that
    // thread stops it as soon as it wakes.
    void close();
    bool isOpen() const { return m_open && !m_closeRequested; }
    const Tarvello::FrameLayout& layout() const { return m_layout; }

private:
    // One look at the layer: true when a frame was taken (and copied into
    // destination). Runs without the GIL.
    bool tryTake(FrameArrays::Destination& destination, Frame& frame);
    void throwIfGone();
    void stop();
    // Claims the camera and streams; throws as the constructor says.
    void startCamera();
    void stopCamera();
    // After an unplug, with following asked for: waits for the camera,
    // opens it again and streams; throws CameraGone when it did not come
    // back in time, returns early when the stream was closed meanwhile.
    void followBack();
    void pause(std::chrono::steady_clock::duration limit);

    std::shared_ptr<PyCamera> m_camera;
    Tarvello::FrameLayout m_layout;
    std::unique_ptr<FrameArrays> m_arrays;
    std::unique_ptr<Tarvello::CameraEvents> m_events;
    std::unique_ptr<Tarvello::CameraReturn> m_return;
    // Not following: nothing; following: the limit (nothing: none).
    std::optional<std::optional<std::chrono::steady_clock::duration>> m_follow;
    std::optional<Tarvello::FormatChoice::Interval> m_interval;
    int m_buffers = 4;
    std::chrono::steady_clock::duration m_timeout;
    unsigned long long m_removalsSeen = 0;
    bool m_open = false;
    bool m_gone = false;
    std::atomic<bool> m_waiting{false};
    std::atomic<bool> m_closeRequested{false};
};

} // namespace TarvelloPython
