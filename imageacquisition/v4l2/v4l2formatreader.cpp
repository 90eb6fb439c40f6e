#include "v4l2formatreader.h"

#include "rangeexpansion.h"
#include "v4l2handle.h"

#include <linux/videodev2.h>

#include <cerrno>
#include <climits>

namespace ImageAcquisition {

namespace {

// Bounds for enumerations, against drivers that never say "no more".
constexpr __u32 kMaxFormats = 256;
constexpr __u32 kMaxSizes = 256;
constexpr __u32 kMaxIntervals = 64;

void addInterval(std::vector<V4l2FrameInterval>& list, unsigned numerator, unsigned denominator)
{
    // A zero denominator would divide the application's timer period by zero.
    if (numerator == 0 || denominator == 0 || numerator > INT_MAX || denominator > INT_MAX)
        return;
    for (const auto& known : list) {
        if (known.equals(numerator, denominator))
            return;
    }
    list.emplace_back(static_cast<int>(numerator), static_cast<int>(denominator));
}

} // namespace

V4l2FormatReader::V4l2FormatReader(const V4l2Handle& device) : m_device(device) {}

std::vector<V4l2PixelFormat> V4l2FormatReader::read() const
{
    std::vector<V4l2PixelFormat> formats;
    for (__u32 index = 0; index < kMaxFormats; ++index) {
        v4l2_fmtdesc description{};
        description.index = index;
        description.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        if (m_device.ioctl(VIDIOC_ENUM_FMT, &description) < 0)
            break;
        auto sizes = resolutions(description.pixelformat);
        // A format without a single size the driver accepts cannot be used.
        if (sizes.empty())
            continue;
        formats.emplace_back(description.pixelformat,
                             (description.flags & V4L2_FMT_FLAG_COMPRESSED) != 0,
                             (description.flags & V4L2_FMT_FLAG_EMULATED) != 0, std::move(sizes));
    }
    return formats;
}

std::vector<V4l2Resolution> V4l2FormatReader::resolutions(std::uint32_t fourcc) const
{
    std::vector<RangeExpansion::Size> sizes;
    for (__u32 index = 0; index < kMaxSizes; ++index) {
        v4l2_frmsizeenum size{};
        size.index = index;
        size.pixel_format = fourcc;
        if (m_device.ioctl(VIDIOC_ENUM_FRAMESIZES, &size) < 0)
            break;
        if (size.type == V4L2_FRMSIZE_TYPE_DISCRETE) {
            sizes.push_back({size.discrete.width, size.discrete.height});
        } else {
            sizes = RangeExpansion::sizes(size.stepwise);
            break;
        }
    }
    if (sizes.empty()) {
        // Drivers that do not enumerate sizes still accept the format at
        // some size: take the one they pick for a common request.
        sizes.push_back({640, 480});
    }
    std::vector<V4l2Resolution> result;
    for (auto size : sizes) {
        unsigned width = size.width;
        unsigned height = size.height;
        int stride = bytesPerLine(fourcc, width, height);
        if (stride < 0)
            continue;
        if (width != size.width || height != size.height) {
            // The driver would not deliver this size after all (or, for the
            // fallback, chose another one): list what it really delivers.
            bool known = false;
            for (const auto& listed : result)
                known = known || (listed.getWidth() == width && listed.getHeight() == height);
            if (known || width == 0 || height == 0)
                continue;
        }
        result.emplace_back(width, height, stride, intervals(fourcc, width, height));
    }
    return result;
}

std::vector<V4l2FrameInterval> V4l2FormatReader::intervals(std::uint32_t fourcc, unsigned width,
                                                           unsigned height) const
{
    std::vector<V4l2FrameInterval> result;
    for (__u32 index = 0; index < kMaxIntervals; ++index) {
        v4l2_frmivalenum interval{};
        interval.index = index;
        interval.pixel_format = fourcc;
        interval.width = width;
        interval.height = height;
        if (m_device.ioctl(VIDIOC_ENUM_FRAMEINTERVALS, &interval) < 0)
            break;
        if (interval.type == V4L2_FRMIVAL_TYPE_DISCRETE) {
            addInterval(result, interval.discrete.numerator, interval.discrete.denominator);
        } else {
            bool continuous = interval.type == V4L2_FRMIVAL_TYPE_CONTINUOUS;
            for (auto expanded : RangeExpansion::intervals(interval.stepwise, continuous))
                addInterval(result, expanded.numerator, expanded.denominator);
            break;
        }
    }
    return result;
}

int V4l2FormatReader::bytesPerLine(std::uint32_t fourcc, unsigned& width, unsigned& height) const
{
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    format.fmt.pix.pixelformat = fourcc;
    format.fmt.pix.width = width;
    format.fmt.pix.height = height;
    format.fmt.pix.field = V4L2_FIELD_ANY;
    int result = m_device.ioctl(VIDIOC_TRY_FMT, &format);
    // Trying is optional for drivers; one that cannot try still streams.
    if (result == -ENOTTY)
        return 0;
    if (result < 0)
        return -1;
    if (format.fmt.pix.pixelformat != fourcc)
        return -1;
    width = format.fmt.pix.width;
    height = format.fmt.pix.height;
    const __u32 stride = format.fmt.pix.bytesperline;
    return stride > INT_MAX ? 0 : static_cast<int>(stride);
}

} // namespace ImageAcquisition
