#include "pseudoterminal.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace ImageAcquisition {

PseudoTerminal::PseudoTerminal()
{
    m_error = open();
    if (m_error != 0)
        m_master.reset();
}

int PseudoTerminal::open()
{
    m_master.reset(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    if (!m_master.isValid())
        return -errno;
    if (grantpt(m_master.get()) != 0 || unlockpt(m_master.get()) != 0)
        return -errno;
    char name[PATH_MAX];
    if (const int rc = ptsname_r(m_master.get(), name, sizeof name); rc != 0)
        return -rc;
    m_slavePath = name;

    // Open the slave side once: a serial port passes bytes unchanged, so the
    // line starts raw. Closing it again also makes the master report a hang-up
    // for as long as nobody has the slave open, which is how hasListener()
    // tells (before the first open the kernel reports nothing either way).
    UniqueFd slave(::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (!slave.isValid())
        return -errno;
    termios settings{};
    if (tcgetattr(slave.get(), &settings) != 0)
        return -errno;
    cfmakeraw(&settings);
    cfsetspeed(&settings, B115200);
    if (tcsetattr(slave.get(), TCSANOW, &settings) != 0)
        return -errno;
    return 0;
}

bool PseudoTerminal::hasListener() const
{
    if (!isOpen())
        return false;
    pollfd fd{m_master.get(), POLLOUT, 0};
    if (poll(&fd, 1, 0) < 0)
        return false;
    return (fd.revents & POLLHUP) == 0;
}

long PseudoTerminal::write(const std::string& text)
{
    if (!isOpen())
        return -EBADF;
    const ssize_t written = ::write(m_master.get(), text.data(), text.size());
    return written < 0 ? -errno : static_cast<long>(written);
}

long PseudoTerminal::read(char* buffer, unsigned long size)
{
    if (!isOpen())
        return -EBADF;
    const ssize_t got = ::read(m_master.get(), buffer, size);
    return got < 0 ? -errno : static_cast<long>(got);
}

} // namespace ImageAcquisition
