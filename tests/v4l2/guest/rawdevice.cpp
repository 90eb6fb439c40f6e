#include "rawdevice.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace Guest {

RawDevice::RawDevice(const char* path) : m_fd(::open(path, O_RDWR | O_NONBLOCK | O_CLOEXEC)) {}

RawDevice::~RawDevice()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

int RawDevice::ioctl(unsigned long request, void* arg) const
{
    int result;
    do {
        result = ::ioctl(m_fd, request, arg);
    } while (result < 0 && errno == EINTR);
    return result < 0 ? -errno : 0;
}

v4l2_capability RawDevice::capability() const
{
    v4l2_capability capability{};
    ioctl(VIDIOC_QUERYCAP, &capability);
    return capability;
}

std::vector<v4l2_fmtdesc> RawDevice::formats() const
{
    std::vector<v4l2_fmtdesc> result;
    for (__u32 index = 0;; ++index) {
        v4l2_fmtdesc description{};
        description.index = index;
        description.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        if (ioctl(VIDIOC_ENUM_FMT, &description) < 0)
            break;
        result.push_back(description);
    }
    return result;
}

std::vector<std::pair<unsigned, unsigned>> RawDevice::sizes(std::uint32_t fourcc) const
{
    std::vector<std::pair<unsigned, unsigned>> result;
    for (__u32 index = 0;; ++index) {
        v4l2_frmsizeenum size{};
        size.index = index;
        size.pixel_format = fourcc;
        if (ioctl(VIDIOC_ENUM_FRAMESIZES, &size) < 0 || size.type != V4L2_FRMSIZE_TYPE_DISCRETE)
            break;
        result.emplace_back(size.discrete.width, size.discrete.height);
    }
    return result;
}

std::vector<std::pair<unsigned, unsigned>>
RawDevice::intervals(std::uint32_t fourcc, unsigned width, unsigned height) const
{
    std::vector<std::pair<unsigned, unsigned>> result;
    for (__u32 index = 0;; ++index) {
        v4l2_frmivalenum interval{};
        interval.index = index;
        interval.pixel_format = fourcc;
        interval.width = width;
        interval.height = height;
        if (ioctl(VIDIOC_ENUM_FRAMEINTERVALS, &interval) < 0
            || interval.type != V4L2_FRMIVAL_TYPE_DISCRETE)
            break;
        result.emplace_back(interval.discrete.numerator, interval.discrete.denominator);
    }
    return result;
}

v4l2_format RawDevice::tryFormat(std::uint32_t fourcc, unsigned width, unsigned height) const
{
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    format.fmt.pix.pixelformat = fourcc;
    format.fmt.pix.width = width;
    format.fmt.pix.height = height;
    format.fmt.pix.field = V4L2_FIELD_ANY;
    ioctl(VIDIOC_TRY_FMT, &format);
    return format;
}

v4l2_format RawDevice::currentFormat() const
{
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    ioctl(VIDIOC_G_FMT, &format);
    return format;
}

v4l2_fract RawDevice::currentInterval() const
{
    v4l2_streamparm parameters{};
    parameters.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    ioctl(VIDIOC_G_PARM, &parameters);
    return parameters.parm.capture.timeperframe;
}

std::vector<v4l2_query_ext_ctrl> RawDevice::controls() const
{
    std::vector<v4l2_query_ext_ctrl> result;
    __u32 next = V4L2_CTRL_FLAG_NEXT_CTRL | V4L2_CTRL_FLAG_NEXT_COMPOUND;
    for (;;) {
        v4l2_query_ext_ctrl query{};
        query.id = next;
        if (ioctl(VIDIOC_QUERY_EXT_CTRL, &query) < 0)
            break;
        next = query.id | V4L2_CTRL_FLAG_NEXT_CTRL | V4L2_CTRL_FLAG_NEXT_COMPOUND;
        if (query.type != V4L2_CTRL_TYPE_CTRL_CLASS)
            result.push_back(query);
    }
    return result;
}

v4l2_query_ext_ctrl RawDevice::control(std::uint32_t id) const
{
    v4l2_query_ext_ctrl query{};
    query.id = id;
    ioctl(VIDIOC_QUERY_EXT_CTRL, &query);
    return query;
}

long long RawDevice::value(std::uint32_t id) const
{
    const bool is64 = this->control(id).type == V4L2_CTRL_TYPE_INTEGER64;
    v4l2_ext_control control{};
    control.id = id;
    v4l2_ext_controls controls{};
    controls.which = V4L2_CTRL_WHICH_CUR_VAL;
    controls.count = 1;
    controls.controls = &control;
    ioctl(VIDIOC_G_EXT_CTRLS, &controls);
    return is64 ? control.value64 : control.value;
}

int RawDevice::setValue(std::uint32_t id, long long value) const
{
    v4l2_ext_control control{};
    control.id = id;
    if (this->control(id).type == V4L2_CTRL_TYPE_INTEGER64)
        control.value64 = value;
    else
        control.value = static_cast<__s32>(value);
    v4l2_ext_controls controls{};
    controls.which = V4L2_CTRL_WHICH_CUR_VAL;
    controls.count = 1;
    controls.controls = &control;
    return ioctl(VIDIOC_S_EXT_CTRLS, &controls);
}

std::string RawDevice::text(std::uint32_t id) const
{
    std::vector<char> buffer(static_cast<std::size_t>(control(id).maximum) + 1);
    v4l2_ext_control control{};
    control.id = id;
    control.size = static_cast<__u32>(buffer.size());
    control.string = buffer.data();
    v4l2_ext_controls controls{};
    controls.which = V4L2_CTRL_WHICH_CUR_VAL;
    controls.count = 1;
    controls.controls = &control;
    if (ioctl(VIDIOC_G_EXT_CTRLS, &controls) < 0)
        return "<unreadable>";
    return buffer.data();
}

std::vector<v4l2_querymenu> RawDevice::menu(const v4l2_query_ext_ctrl& control) const
{
    std::vector<v4l2_querymenu> result;
    for (long long item = control.minimum; item <= control.maximum; ++item) {
        v4l2_querymenu entry{};
        entry.id = control.id;
        entry.index = static_cast<__u32>(item);
        if (ioctl(VIDIOC_QUERYMENU, &entry) == 0)
            result.push_back(entry);
    }
    return result;
}

std::string fourccText(std::uint32_t fourcc)
{
    std::string text;
    for (int i = 0; i < 4; ++i)
        text += static_cast<char>((fourcc >> (8 * i)) & 0x7f);
    while (!text.empty() && text.back() == ' ')
        text.pop_back();
    if (fourcc & (1u << 31))
        text += "-BE";
    return text;
}

} // namespace Guest
