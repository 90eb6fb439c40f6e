#pragma once

#include <linux/videodev2.h>

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

namespace Guest {

// Asks the driver directly, without the camera layer and without libv4l2:
// the reference the layer's answers are compared with.
class RawDevice
{
public:
    RawDevice() : m_fd(::open("/dev/video0", O_RDWR | O_NONBLOCK | O_CLOEXEC)) {}
    ~RawDevice() { ::close(m_fd); }
    RawDevice(const RawDevice&) = delete;
    RawDevice& operator=(const RawDevice&) = delete;

    int ioctl(unsigned long request, void* arg) const { return ::ioctl(m_fd, request, arg) < 0 ? -errno : 0; }

    template <typename T>
    T get(unsigned long request, T item = T()) const
    {
        ioctl(request, &item);
        return item;
    }

    // The items of an enumeration, from the one given on.
    template <typename T>
    std::vector<T> list(unsigned long request, T item) const
    {
        std::vector<T> result;
        for (; ioctl(request, &item) == 0; ++item.index)
            result.push_back(item);
        return result;
    }

    // What the driver makes of a request; the format in force without one.
    v4l2_pix_format format(__u32 fourcc = 0, __u32 width = 0, __u32 height = 0) const
    {
        v4l2_format format{};
        format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        format.fmt.pix.pixelformat = fourcc;
        format.fmt.pix.width = width;
        format.fmt.pix.height = height;
        ioctl(width ? VIDIOC_TRY_FMT : VIDIOC_G_FMT, &format);
        return format.fmt.pix;
    }

    v4l2_fract interval() const
    {
        v4l2_streamparm parameters{};
        parameters.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        return get(VIDIOC_G_PARM, parameters).parm.capture.timeperframe;
    }

    std::vector<v4l2_query_ext_ctrl> controls() const
    {
        std::vector<v4l2_query_ext_ctrl> result;
        v4l2_query_ext_ctrl query{};
        for (;;) {
            query.id |= V4L2_CTRL_FLAG_NEXT_CTRL | V4L2_CTRL_FLAG_NEXT_COMPOUND;
            if (ioctl(VIDIOC_QUERY_EXT_CTRL, &query) < 0)
                return result;
            if (query.type != V4L2_CTRL_TYPE_CTRL_CLASS)
                result.push_back(query);
        }
    }

    v4l2_query_ext_ctrl control(const std::string& name) const
    {
        for (const auto& query : controls()) {
            if (name == query.name)
                return query;
        }
        return {};
    }

    // The control's current value, bitmasks as the unsigned numbers they are; text ones into text.
    long long value(const v4l2_query_ext_ctrl& query, char* text = nullptr, __u32 size = 0) const
    {
        v4l2_ext_control control{};
        control.id = query.id;
        control.size = size;
        control.string = text;
        v4l2_ext_controls controls{};
        controls.which = V4L2_CTRL_WHICH_CUR_VAL;
        controls.count = 1;
        controls.controls = &control;
        ioctl(VIDIOC_G_EXT_CTRLS, &controls);
        if (query.type == V4L2_CTRL_TYPE_INTEGER64)
            return control.value64;
        return query.type == V4L2_CTRL_TYPE_BITMASK ? static_cast<__u32>(control.value) : control.value;
    }

    std::string text(const v4l2_query_ext_ctrl& query) const
    {
        char buffer[256] = {};
        value(query, buffer, sizeof buffer);
        return buffer;
    }

    // The valid items, gaps left out.
    std::vector<v4l2_querymenu> menu(const v4l2_query_ext_ctrl& control) const
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

private:
    int m_fd;
};

inline std::string fourccText(__u32 fourcc)
{
    std::string text(reinterpret_cast<const char*>(&fourcc), 4);
    text[3] &= 0x7f;
    text.erase(text.find_last_not_of(' ') + 1);
    return fourcc & (1u << 31) ? text + "-BE" : text;
}

} // namespace Guest
