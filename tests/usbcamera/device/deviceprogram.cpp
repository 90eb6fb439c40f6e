#include "deviceprogram.h"

#include "monotonic.h"

#include <cerrno>
#include <cmath>
#include <csignal>
#include <poll.h>
#include <sys/signalfd.h>
#include <thread>
#include <unistd.h>

namespace UsbCamera {

namespace {

// The port stays busy for a moment after a detach while the kernel tears
// the old connection down.
constexpr int kAttachTries = 40;
constexpr auto kAttachRetry = std::chrono::milliseconds(50);

} // namespace

DeviceProgram::DeviceProgram(DeviceIdentity identity, VhciPort port, EventLog& log, FrameArchive& archive)
    : m_identity(std::move(identity)), m_port(std::move(port)), m_log(log), m_archive(archive)
{
}

bool DeviceProgram::plug(double now)
{
    std::string error;
    for (int tries = 0; tries < kAttachTries && !m_link; ++tries) {
        if (tries > 0)
            std::this_thread::sleep_for(kAttachRetry);
        m_link = m_port.attach(error);
    }
    if (!m_link) {
        m_log.write("cannot plug in: " + error);
        return false;
    }
    m_device = std::make_unique<UsbCameraDevice>(m_identity, m_log, m_archive, m_frameCounter, now);
    m_log.write("plugged in on vhci port " + std::to_string(m_port.number()) + ", serial " + m_identity.serial);
    return true;
}

void DeviceProgram::unplug(const char* why)
{
    if (!m_link)
        return;
    if (m_link->isOpen())
        m_port.detach();
    m_device.reset();
    m_link.reset();
    m_log.write(std::string("unplugged (") + why + ")");
}

void DeviceProgram::serve(double now)
{
    for (const UsbIpRequest& request : m_link->receive())
        m_device->handle(request, *m_link, now);
    m_device->pump(now, *m_link);
    if (!m_link->isOpen())
        unplug("the host detached the port");
}

int DeviceProgram::run()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (int s : {SIGUSR1, SIGUSR2, SIGTERM, SIGINT})
        sigaddset(&signals, s);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    const int signalFd = ::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (signalFd < 0) {
        m_log.write("signalfd failed");
        return 1;
    }
    if (!plug(monotonicSeconds())) {
        ::close(signalFd);
        return 1;
    }
    bool running = true;
    while (running) {
        double now = monotonicSeconds();
        int timeoutMs = -1;
        if (m_device) {
            if (const auto due = m_device->deadline())
                timeoutMs = std::max(0, static_cast<int>(std::ceil((*due - now) * 1000.0)));
        }
        pollfd fds[2] = {{signalFd, POLLIN, 0}, {m_link ? m_link->socket() : -1, POLLIN, 0}};
        if (::poll(fds, 2, timeoutMs) < 0 && errno != EINTR)
            break;
        signalfd_siginfo info{};
        while (::read(signalFd, &info, sizeof info) == sizeof info) {
            if (info.ssi_signo == SIGUSR1) {
                unplug("SIGUSR1");
            } else if (info.ssi_signo == SIGUSR2) {
                if (!m_link)
                    plug(monotonicSeconds());
            } else {
                unplug("stopped");
                running = false;
            }
        }
        now = monotonicSeconds();
        if (m_link)
            serve(now);
    }
    ::close(signalFd);
    return 0;
}

} // namespace UsbCamera
