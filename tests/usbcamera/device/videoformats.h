#pragma once

#include <cstdint>

namespace UsbCamera {

// What the camera streams: every format in every size at every interval.
// The descriptors, probe and commit and the frame source all read this one
// table.

enum class Encoding
{
    Mjpeg,
    Yuyv,
};

struct FrameSize
{
    std::uint16_t width;
    std::uint16_t height;
};

struct VideoFormat
{
    const char* fourcc;
    Encoding encoding;
};

constexpr VideoFormat kFormats[] = {
    {"MJPG", Encoding::Mjpeg},
    {"YUYV", Encoding::Yuyv},
};
constexpr int kFormatCount = 2;

// The sensor's full size first: index 0 is each format's default.
constexpr FrameSize kSizes[] = {{640, 480}, {320, 240}};
constexpr int kSizeCount = 2;

// Frame intervals in 100 ns units, fastest first.
constexpr std::uint32_t kIntervals[] = {333333, 666666};
constexpr int kIntervalCount = 2;

// The most a frame can take: raw YUYV at two bytes a pixel; a JPEG of these
// pictures is far smaller.
constexpr std::uint32_t maxFrameBytes(const FrameSize& size)
{
    return std::uint32_t(size.width) * size.height * 2;
}

} // namespace UsbCamera
