#pragma once

#include <unistd.h>

namespace ImageAcquisition {

// Owns one file descriptor and closes it when it goes.
class UniqueFd
{
public:
    explicit UniqueFd(int fd = -1) : m_fd(fd) {}
    ~UniqueFd() { reset(); }

    UniqueFd(UniqueFd&& other) noexcept : m_fd(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept
    {
        if (this != &other)
            reset(other.release());
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;

    int get() const { return m_fd; }
    bool isValid() const { return m_fd >= 0; }

    int release()
    {
        const int fd = m_fd;
        m_fd = -1;
        return fd;
    }

    void reset(int fd = -1)
    {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = fd;
    }

private:
    int m_fd;
};

} // namespace ImageAcquisition
