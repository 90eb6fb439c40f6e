#pragma once

#include "v4l2pixelformat.h"

#include <vector>

namespace ImageAcquisition {

class V4l2Handle;

// Asks an open device for its pixel formats, the frame sizes of each and
// the frame intervals of each size, converted formats of libv4l2 included.
class V4l2FormatReader
{
public:
    explicit V4l2FormatReader(const V4l2Handle& device);

    std::vector<V4l2PixelFormat> read() const;

private:
    std::vector<V4l2Resolution> resolutions(std::uint32_t fourcc) const;
    std::vector<V4l2FrameInterval> intervals(std::uint32_t fourcc, unsigned width,
                                             unsigned height) const;
    // Bytes per line the driver would use for that format and size, 0 when
    // it will not say (compressed formats have none). Width and height come
    // back as the driver would adjust them.
    int bytesPerLine(std::uint32_t fourcc, unsigned& width, unsigned& height) const;

    const V4l2Handle& m_device;
};

} // namespace ImageAcquisition
