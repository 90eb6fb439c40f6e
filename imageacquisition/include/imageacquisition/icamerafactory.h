#pragma once

namespace ImageAcquisition {

class IContinuousCameraMonitor;
class IDevice;
class IDeviceList;
class IStreamingCamera;

// The one entry point of the camera layer.
class ICameraFactory
{
public:
    virtual ~ICameraFactory() = default;

    // The same object on every call; never null.
    static ICameraFactory* getUniqueInstance();

    // A new list of the devices present now; the caller deletes it.
    virtual IDeviceList* getDeviceList() = 0;
    // Opens the camera of a device taken from a live list; null when it cannot
    // be opened. The caller deletes the result.
    virtual IStreamingCamera* createCamera(const IDevice* device) = 0;
    // A new monitor, not yet started; the caller deletes it after stop().
    virtual IContinuousCameraMonitor* createContinuousCameraMonitor() = 0;
};

} // namespace ImageAcquisition
