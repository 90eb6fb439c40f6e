#include "buffermapping.h"

#include "v4l2handle.h"

#include <libv4l2.h>
#include <sys/mman.h>

#include <cerrno>
#include <utility>

namespace ImageAcquisition {

BufferMapping::~BufferMapping()
{
    unmap();
}

BufferMapping::BufferMapping(BufferMapping&& other) noexcept
    : m_start(std::exchange(other.m_start, nullptr)), m_length(std::exchange(other.m_length, 0))
{
}

BufferMapping& BufferMapping::operator=(BufferMapping&& other) noexcept
{
    if (this != &other) {
        unmap();
        m_start = std::exchange(other.m_start, nullptr);
        m_length = std::exchange(other.m_length, 0);
    }
    return *this;
}

int BufferMapping::map(const V4l2Handle& device, std::size_t length, std::uint32_t offset)
{
    unmap();
    if (!device.isOpen())
        return -EBADF;
    void* start = v4l2_mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, device.fd(),
                            static_cast<int64_t>(offset));
    if (start == MAP_FAILED)
        return -errno;
    m_start = start;
    m_length = length;
    return 0;
}

void BufferMapping::unmap()
{
    if (m_start)
        v4l2_munmap(m_start, m_length);
    m_start = nullptr;
    m_length = 0;
}

} // namespace ImageAcquisition
