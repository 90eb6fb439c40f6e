#pragma once

namespace ImageAcquisition {

class ICameraControl;
class IDevice;
class IPixelFormat;

// An open camera: its device, controls and formats. The formats,
// resolutions, intervals and controls it hands out belong to it.
class ICamera
{
public:
    virtual ~ICamera() = default;

    virtual int getControlCount() const = 0;
    virtual const IDevice* getDevice() const = 0;
    virtual ICameraControl* getControl(int index) = 0;
    virtual int getFormatCount() const = 0;
    virtual IPixelFormat* getFormat(int index) = 0;
    virtual int getCurrentFormatIndex() const = 0;
    virtual int getCurrentResolutionIndex() const = 0;
    virtual int getCurrentFrameIntervalIndex() const = 0;
    // Soft reset; allowed while streaming.
    virtual void reset() = 0;
    // Makes the three indexes current; false when refused (out of range,
    // streaming, or the device says no).
    virtual bool setFormat(int formatIndex, int resolutionIndex, int intervalIndex) = 0;
};

} // namespace ImageAcquisition
