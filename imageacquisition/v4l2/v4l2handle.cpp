#include "v4l2handle.h"

#include "ioctl.h"
#include "uniquefd.h"

#include <libv4l2.h>

#include <cerrno>
#include <fcntl.h>

namespace ImageAcquisition {

V4l2Handle::V4l2Handle(const std::string& path)
{
    // Non-blocking, so that taking a frame never waits for one.
    UniqueFd raw(::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    if (!raw.isValid())
        return;
    // Without the emulation flag libv4l2 converts formats but does not list
    // the converted ones, and the application could never choose them.
    if (v4l2_fd_open(raw.get(), V4L2_ENABLE_ENUM_FMT_EMULATION) < 0)
        return;
    m_fd = raw.release();
}

V4l2Handle::~V4l2Handle()
{
    if (m_fd >= 0)
        v4l2_close(m_fd);
}

int V4l2Handle::ioctl(unsigned long request, void* arg) const
{
    if (m_fd < 0 || m_gone)
        return -ENODEV;
    int result = libv4l2Ioctl(m_fd, request, arg);
    if (result == -ENODEV)
        m_gone = true;
    return result;
}

} // namespace ImageAcquisition
