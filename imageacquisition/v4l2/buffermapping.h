#pragma once

#include <cstddef>
#include <cstdint>

namespace ImageAcquisition {

class V4l2Handle;

// One driver buffer mapped into the process through libv4l2 (which hands out
// its own buffer when it converts the format). Unmapped when it goes.
class BufferMapping
{
public:
    BufferMapping() = default;
    ~BufferMapping();
    BufferMapping(BufferMapping&& other) noexcept;
    BufferMapping& operator=(BufferMapping&& other) noexcept;
    BufferMapping(const BufferMapping&) = delete;
    BufferMapping& operator=(const BufferMapping&) = delete;

    // 0 or -errno.
    int map(const V4l2Handle& device, std::size_t length, std::uint32_t offset);
    void unmap();

    const unsigned char* data() const { return static_cast<const unsigned char*>(m_start); }
    std::size_t length() const { return m_length; }

private:
    void* m_start = nullptr;
    std::size_t m_length = 0;
};

} // namespace ImageAcquisition
