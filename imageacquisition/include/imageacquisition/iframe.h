#pragma once

#include <cstdint>

namespace ImageAcquisition {

// One captured frame. Owned by the layer: it goes back through
// IStreamingCamera::releaseFrame, never through delete.
//
// What a frame that is not empty holds depends on the stream's format:
// - uncompressed codes (RGB3, BGR3, GRBG, YUYV, ...): the rows of the running
//   resolution, each IResolution::getBytesPerLine() apart. A camera should
//   deliver height x bytes-per-line bytes, but a driver may report fewer (a
//   frame cut short on the bus); getSize() is the number actually there, and
//   a reader must not go past it.
// - compressed codes (MJPG): one picture as the camera encoded it, in
//   getSize() bytes. Nothing about it is checked: it may be truncated or
//   corrupt, and the size its header declares need not be the stream's.
class IFrame
{
public:
    virtual ~IFrame() = default;

    // Capture time of a frame. The first field grows with time and counts
    // whole seconds; the second carries the microseconds within that second.
    struct TimeStamp
    {
        std::int64_t seconds;
        std::int64_t microseconds;
    };

    // Bytes at getData(); never negative, 0 for an empty frame.
    virtual int getSize() const = 0;
    // Valid until the frame is released; null only when getSize() is 0.
    virtual const unsigned char* getData() const = 0;
    virtual unsigned long long getFrameNumber() const = 0;
    virtual TimeStamp getTimeStamp() const = 0;
    // True when the frame carries no picture (none was due, or the device is gone).
    virtual bool isEmpty() const = 0;
};

static_assert(sizeof(IFrame::TimeStamp) == 16, "the time stamp is a 16-byte record");

} // namespace ImageAcquisition
