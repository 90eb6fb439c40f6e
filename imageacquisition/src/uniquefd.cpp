#include "uniquefd.h"

#include <unistd.h>

namespace ImageAcquisition {

UniqueFd::~UniqueFd()
{
    reset();
}

UniqueFd::UniqueFd(UniqueFd&& other) noexcept : m_fd(other.release()) {}

UniqueFd& UniqueFd::operator=(UniqueFd&& other) noexcept
{
    if (this != &other)
        reset(other.release());
    return *this;
}

int UniqueFd::release()
{
    int fd = m_fd;
    m_fd = -1;
    return fd;
}

void UniqueFd::reset(int fd)
{
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = fd;
}

} // namespace ImageAcquisition
