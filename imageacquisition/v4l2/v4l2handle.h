#pragma once

#include <atomic>
#include <string>

namespace ImageAcquisition {

// An open video device adopted by libv4l2, so that the formats a camera does
// not deliver itself (RGB3 and BGR3 from YUYV or MJPG) are converted in
// software. Closes through libv4l2 when it goes.
//
// Remembers when the device has gone away (ENODEV), so that callers stop
// talking to a device that was unplugged.
class V4l2Handle
{
public:
    // Null-state handle (isOpen() false) when the node cannot be opened.
    explicit V4l2Handle(const std::string& path);
    ~V4l2Handle();
    V4l2Handle(const V4l2Handle&) = delete;
    V4l2Handle& operator=(const V4l2Handle&) = delete;

    bool isOpen() const { return m_fd >= 0; }
    int fd() const { return m_fd; }
    // 0 or -errno; -ENODEV at once once the device has gone.
    int ioctl(unsigned long request, void* arg) const;
    bool isGone() const { return m_gone; }

private:
    int m_fd = -1;
    // Atomic: waitForFrame may look while another thread's control call
    // finds the device gone.
    mutable std::atomic<bool> m_gone{false};
};

} // namespace ImageAcquisition
