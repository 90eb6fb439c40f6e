#pragma once

#include "buffermapping.h"
#include "v4l2frame.h"

#include <memory>
#include <vector>

namespace ImageAcquisition {

class V4l2Handle;

// The memory-mapped buffers of a camera and the queue through which they go
// to the driver and come back full. Hands out only the newest full buffer,
// so that the picture is never late, and puts older ones straight back.
class V4l2Stream
{
public:
    explicit V4l2Stream(const V4l2Handle& device);
    ~V4l2Stream();
    V4l2Stream(const V4l2Stream&) = delete;
    V4l2Stream& operator=(const V4l2Stream&) = delete;

    // Each returns 0 or -errno.
    int allocate(int count);
    int start();
    int stop();
    int release();

    // Never blocks, never null: the empty frame when nothing new is ready.
    IFrame* next();
    void giveBack(IFrame* frame);
    // 1 when a filled buffer waits, 0 after timeoutMs, -ENODEV once the
    // device is gone, -EINVAL when not streaming, -EIO on a stream error.
    int wait(int timeoutMs);

    bool hasBuffers() const { return !m_frames.empty(); }
    bool isStreaming() const { return m_streaming; }

private:
    int queue(V4l2Frame& frame);
    bool isFrameReady() const;
    // After POLLHUP or POLLERR: whether the device went away.
    bool confirmGone() const;
    V4l2Frame* find(const IFrame* frame) const;

    const V4l2Handle& m_device;
    std::vector<BufferMapping> m_mappings;
    std::vector<std::unique_ptr<V4l2Frame>> m_frames;
    // Frames still handed out when their buffers were released; they keep
    // copies of their bytes until they come back or the camera goes.
    std::vector<std::unique_ptr<V4l2Frame>> m_orphans;
    V4l2Frame m_empty;
    bool m_streaming = false;
};

} // namespace ImageAcquisition
