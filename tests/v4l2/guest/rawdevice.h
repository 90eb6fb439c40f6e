#pragma once

#include <linux/videodev2.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Guest {

// Asks the driver directly, without the camera layer and without libv4l2:
// the reference the layer's answers are compared with.
class RawDevice
{
public:
    explicit RawDevice(const char* path = "/dev/video0");
    ~RawDevice();
    RawDevice(const RawDevice&) = delete;
    RawDevice& operator=(const RawDevice&) = delete;

    bool isOpen() const { return m_fd >= 0; }
    int ioctl(unsigned long request, void* arg) const; // 0 or -errno

    v4l2_capability capability() const;
    std::vector<v4l2_fmtdesc> formats() const;
    std::vector<std::pair<unsigned, unsigned>> sizes(std::uint32_t fourcc) const;
    std::vector<std::pair<unsigned, unsigned>> intervals(std::uint32_t fourcc, unsigned width,
                                                         unsigned height) const;
    v4l2_format tryFormat(std::uint32_t fourcc, unsigned width, unsigned height) const;
    v4l2_format currentFormat() const;
    v4l2_fract currentInterval() const;

    std::vector<v4l2_query_ext_ctrl> controls() const;
    v4l2_query_ext_ctrl control(std::uint32_t id) const;
    long long value(std::uint32_t id) const;
    int setValue(std::uint32_t id, long long value) const;
    std::string text(std::uint32_t id) const;
    // Valid menu items: item number and its name (text menus) or value.
    std::vector<v4l2_querymenu> menu(const v4l2_query_ext_ctrl& control) const;

private:
    int m_fd = -1;
};

std::string fourccText(std::uint32_t fourcc);

} // namespace Guest
