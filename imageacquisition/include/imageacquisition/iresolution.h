#pragma once

namespace ImageAcquisition {

class IFrameInterval;

// One frame size of a pixel format. Owned by the camera.
class IResolution
{
public:
    virtual ~IResolution() = default;

    virtual unsigned int getWidth() const = 0;
    virtual unsigned int getHeight() const = 0;
    // Bytes from the start of one row of a raw frame to the start of the next.
    virtual int getBytesPerLine() const = 0;
    virtual int getFrameIntervalCount() const = 0;
    // Null for an index outside 0 .. getFrameIntervalCount() - 1.
    virtual IFrameInterval* getFrameInterval(int index) = 0;
};

} // namespace ImageAcquisition
