#include "v4l2stream.h"

#include "v4l2handle.h"

#include <linux/videodev2.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>

namespace ImageAcquisition {

V4l2Stream::V4l2Stream(const V4l2Handle& device) : m_device(device) {}

V4l2Stream::~V4l2Stream()
{
    release();
}

int V4l2Stream::allocate(int count)
{
    if (m_device.isGone())
        return -ENODEV;
    if (m_streaming || hasBuffers())
        return -EBUSY;
    if (count < 1)
        return -EINVAL;
    v4l2_requestbuffers request{};
    request.count = static_cast<__u32>(count);
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = V4L2_MEMORY_MMAP;
    int result = m_device.ioctl(VIDIOC_REQBUFS, &request);
    if (result < 0)
        return result;
    if (request.count == 0)
        return -ENOMEM;
    for (__u32 index = 0; index < request.count && result == 0; ++index) {
        v4l2_buffer buffer{};
        buffer.index = index;
        buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        buffer.memory = V4L2_MEMORY_MMAP;
        result = m_device.ioctl(VIDIOC_QUERYBUF, &buffer);
        BufferMapping mapping;
        if (result == 0)
            result = mapping.map(m_device, buffer.length, buffer.m.offset);
        if (result == 0) {
            m_mappings.push_back(std::move(mapping));
            m_frames.push_back(std::make_unique<V4l2Frame>(index));
        }
    }
    if (result < 0)
        release();
    return result;
}

int V4l2Stream::start()
{
    if (m_device.isGone())
        return -ENODEV;
    if (!hasBuffers())
        return -EINVAL;
    if (m_streaming)
        return 0;
    int result = 0;
    for (auto& frame : m_frames) {
        if (!frame->isOut() && result == 0)
            result = queue(*frame);
    }
    v4l2_buf_type type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (result == 0)
        result = m_device.ioctl(VIDIOC_STREAMON, &type);
    if (result < 0) {
        // Takes back whatever was queued, so that a later start begins clean.
        m_device.ioctl(VIDIOC_STREAMOFF, &type);
        return result;
    }
    m_streaming = true;
    return 0;
}

int V4l2Stream::stop()
{
    if (!m_streaming)
        return m_device.isGone() ? -ENODEV : 0;
    m_streaming = false;
    // Also takes every queued buffer back from the driver.
    v4l2_buf_type type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    return m_device.ioctl(VIDIOC_STREAMOFF, &type);
}

int V4l2Stream::release()
{
    int result = stop();
    const bool hadBuffers = hasBuffers();
    for (auto& frame : m_frames) {
        if (frame->isOut()) {
            frame->detach();
            m_orphans.push_back(std::move(frame));
        }
    }
    m_frames.clear();
    // Unmapped before the buffers are freed: the driver refuses to free
    // buffers that are still mapped.
    m_mappings.clear();
    if (m_device.isGone())
        return -ENODEV;
    if (hadBuffers) {
        v4l2_requestbuffers request{};
        request.count = 0;
        request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        request.memory = V4L2_MEMORY_MMAP;
        int freed = m_device.ioctl(VIDIOC_REQBUFS, &request);
        if (result == 0)
            result = freed;
    }
    return result;
}

IFrame* V4l2Stream::next()
{
    if (!m_streaming || m_device.isGone())
        return &m_empty;
    V4l2Frame* newest = nullptr;
    // At most one round over the buffers, so that a driver that fills them
    // as fast as they are put back cannot keep this loop going.
    for (std::size_t round = 0; round < m_frames.size() && isFrameReady(); ++round) {
        v4l2_buffer buffer{};
        buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        buffer.memory = V4L2_MEMORY_MMAP;
        if (m_device.ioctl(VIDIOC_DQBUF, &buffer) < 0)
            break;
        if (buffer.index >= m_frames.size())
            continue;
        V4l2Frame& frame = *m_frames[buffer.index];
        const BufferMapping& mapping = m_mappings[buffer.index];
        if ((buffer.flags & V4L2_BUF_FLAG_ERROR) || buffer.bytesused == 0) {
            queue(frame);
            continue;
        }
        if (newest)
            queue(*newest);
        std::size_t size = std::min<std::size_t>({buffer.bytesused, mapping.length(), INT_MAX});
        frame.fill(mapping.data(), static_cast<int>(size), buffer.sequence,
                   {static_cast<std::int64_t>(buffer.timestamp.tv_sec),
                    static_cast<std::int64_t>(buffer.timestamp.tv_usec)});
        newest = &frame;
    }
    if (!newest)
        return &m_empty;
    newest->setOut(true);
    return newest;
}

bool V4l2Stream::isFrameReady() const
{
    // Asked first rather than trying to dequeue: libv4l2 reports every
    // failed dequeue on standard error, "nothing ready" included, which
    // would flood it at the application's frame rate.
    pollfd ready{m_device.fd(), POLLIN, 0};
    if (::poll(&ready, 1, 0) <= 0)
        return false;
    if (ready.revents & POLLIN)
        return true;
    if (ready.revents & POLLHUP)
        confirmGone();
    return false;
}

bool V4l2Stream::confirmGone() const
{
    // An unregistered (unplugged) device hangs up; a harmless request
    // confirms it, and the handle then answers -ENODEV to everything.
    v4l2_capability capability{};
    m_device.ioctl(VIDIOC_QUERYCAP, &capability);
    return m_device.isGone();
}

int V4l2Stream::wait(int timeoutMs)
{
    if (m_device.isGone())
        return -ENODEV;
    if (!m_streaming)
        return -EINVAL;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(std::max(0, timeoutMs));
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd ready{m_device.fd(), POLLIN, 0};
        const int result = ::poll(&ready, 1, static_cast<int>(std::max<long long>(0, left.count())));
        if (result < 0 && errno == EINTR)
            continue;
        if (result < 0)
            return -errno;
        if (result == 0)
            return 0;
        if (ready.revents & POLLIN)
            return 1;
        if (ready.revents & POLLNVAL)
            return -EBADF;
        // uvcvideo reports an unplug as POLLERR | POLLHUP; an error of the
        // queue alone (POLLERR) leaves the device there but the stream dead.
        if (ready.revents & (POLLHUP | POLLERR))
            return confirmGone() ? -ENODEV : -EIO;
        if (left.count() <= 0)
            return 0;
    }
}

void V4l2Stream::giveBack(IFrame* frame)
{
    if (!frame || frame == &m_empty)
        return;
    if (V4l2Frame* ours = find(frame)) {
        if (!ours->isOut())
            return;
        ours->setOut(false);
        // A frame given back while stopped is queued again by start().
        if (m_streaming)
            queue(*ours);
        return;
    }
    auto orphan = std::find_if(m_orphans.begin(), m_orphans.end(),
                               [frame](const auto& candidate) { return candidate.get() == frame; });
    if (orphan != m_orphans.end())
        m_orphans.erase(orphan);
}

int V4l2Stream::queue(V4l2Frame& frame)
{
    v4l2_buffer buffer{};
    buffer.index = frame.bufferIndex();
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    return m_device.ioctl(VIDIOC_QBUF, &buffer);
}

V4l2Frame* V4l2Stream::find(const IFrame* frame) const
{
    for (const auto& candidate : m_frames) {
        if (candidate.get() == frame)
            return candidate.get();
    }
    return nullptr;
}

} // namespace ImageAcquisition
