#pragma once

namespace ImageAcquisition {

class IResolution;

// One pixel format of a camera. Owned by the camera.
class IPixelFormat
{
public:
    virtual ~IPixelFormat() = default;

    virtual bool isCompressed() const = 0;
    // Converted in software rather than delivered by the device itself.
    virtual bool isEmulated() const = 0;
    // Four-character code such as "RGB3" or "MJPG".
    virtual const char* getFourCC() const = 0;
    virtual const char* getDescription() const = 0;
    virtual int getResolutionCount() const = 0;
    // Null for an index outside 0 .. getResolutionCount() - 1 (a negative one included).
    virtual IResolution* getResolution(int index) = 0;
};

} // namespace ImageAcquisition
