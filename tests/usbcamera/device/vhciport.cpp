#include "vhciport.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace UsbCamera {

namespace {

constexpr int kHighSpeed = 3; // enum usb_device_speed
// The host shows it as bus/device; any value does, as long as it is stable.
constexpr unsigned kDeviceId = (1u << 16) | 2u;

bool writeFile(const std::string& path, const std::string& text, int& error)
{
    const int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0) {
        error = errno;
        return false;
    }
    const bool written = ::write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    error = written ? 0 : errno;
    ::close(fd);
    return written;
}

} // namespace

VhciPort::VhciPort(int port, std::string controller) : m_port(port), m_controller(std::move(controller)) {}

std::unique_ptr<UsbIpConnection> VhciPort::attach(std::string& error) const
{
    int pair[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) {
        error = std::string("socketpair: ") + std::strerror(errno);
        return nullptr;
    }
    // The kernel takes its own reference to its end while the write runs,
    // so that end is closed here either way.
    int writeError = 0;
    const bool attached = writeFile(m_controller + "/attach",
                                    std::to_string(m_port) + " " + std::to_string(pair[1]) + " "
                                        + std::to_string(kDeviceId) + " " + std::to_string(kHighSpeed),
                                    writeError);
    ::close(pair[1]);
    if (!attached) {
        ::close(pair[0]);
        error = m_controller + "/attach: " + std::strerror(writeError);
        return nullptr;
    }
    return std::make_unique<UsbIpConnection>(pair[0]);
}

bool VhciPort::detach() const
{
    int error = 0;
    return writeFile(m_controller + "/detach", std::to_string(m_port), error);
}

} // namespace UsbCamera
