#pragma once

#include <cstdint>

namespace ImageAcquisition {

// One captured frame. Owned by the layer: it goes back through
// IStreamingCamera::releaseFrame, never through delete.
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

    virtual int getSize() const = 0;
    // Valid until the frame is released.
    virtual const unsigned char* getData() const = 0;
    virtual unsigned long long getFrameNumber() const = 0;
    virtual TimeStamp getTimeStamp() const = 0;
    // True when the frame carries no picture (none was due, or the device is gone).
    virtual bool isEmpty() const = 0;
};

static_assert(sizeof(IFrame::TimeStamp) == 16, "the time stamp is a 16-byte record");

} // namespace ImageAcquisition
