#include "serialline.h"

#include <ctlerror.h>

#include <QElapsedTimer>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

using Tarvello::CtlError;

namespace {

constexpr int kWriteTimeoutMs = 1000;

QString systemError(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

} // namespace

SerialLine::SerialLine(const QString& path) : m_path(path)
{
    m_fd = ::open(path.toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (m_fd < 0) {
        const int error = errno;
        throw CtlError(QString("Cannot open %1: %2. 'tarvello-ctl doctor' may tell why.").arg(path, systemError(error)),
                       error == EACCES || error == EPERM || error == EBUSY ? CtlError::kRefused
                                                                          : CtlError::kFailed);
    }
    termios settings{};
    if (::tcgetattr(m_fd, &settings) == 0) {
        ::cfmakeraw(&settings);
        ::cfsetispeed(&settings, B115200);
        ::cfsetospeed(&settings, B115200);
        settings.c_cflag |= CLOCAL | CREAD;
        settings.c_cflag &= ~(CSTOPB | PARENB | CRTSCTS);
        settings.c_cc[VMIN] = 0;
        settings.c_cc[VTIME] = 0;
    }
    if (::tcsetattr(m_fd, TCSANOW, &settings) != 0) {
        const int error = errno;
        ::close(m_fd);
        m_fd = -1;
        throw CtlError(QString("%1 is not a serial line: %2.").arg(path, systemError(error)), CtlError::kFailed);
    }
}

SerialLine::~SerialLine()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

SerialLine::Status SerialLine::read(QByteArray& into, int timeoutMs)
{
    pollfd ready{m_fd, POLLIN, 0};
    int result;
    do {
        result = ::poll(&ready, 1, timeoutMs);
    } while (result < 0 && errno == EINTR);
    if (result == 0)
        return Status::Timeout;
    if (result < 0 || (ready.revents & (POLLERR | POLLNVAL)))
        return Status::Gone;
    char buffer[4096];
    const ssize_t got = ::read(m_fd, buffer, sizeof buffer);
    if (got > 0) {
        into.append(buffer, int(got));
        return Status::Data;
    }
    if (got < 0 && (errno == EAGAIN || errno == EINTR))
        return Status::Timeout;
    // cdc_acm hangs up and then reads as end of file (or EIO) once the
    // device is disconnected; a pseudo-terminal whose other end closed
    // reads as EIO.
    return Status::Gone;
}

bool SerialLine::sendLine(const QByteArray& text)
{
    return writeAll("\r" + text + "\r");
}

bool SerialLine::writeAll(const QByteArray& bytes)
{
    QElapsedTimer clock;
    clock.start();
    int written = 0;
    while (written < bytes.size()) {
        const ssize_t result = ::write(m_fd, bytes.constData() + written, size_t(bytes.size() - written));
        if (result > 0) {
            written += int(result);
            continue;
        }
        if (result < 0 && errno != EAGAIN && errno != EINTR)
            return false;
        const int left = kWriteTimeoutMs - int(clock.elapsed());
        if (left <= 0)
            return false;
        pollfd ready{m_fd, POLLOUT, 0};
        if (::poll(&ready, 1, left) < 0 && errno != EINTR)
            return false;
    }
    return true;
}
