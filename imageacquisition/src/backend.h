#pragma once

#include <imageacquisition/idevice.h>
#include <imageacquisition/usbbandwidth.h>

#include <functional>
#include <memory>
#include <vector>

namespace ImageAcquisition {

class IStreamingCamera;

// A device of some backend. It knows how to open its own camera, so the
// factory never needs to know which backend a device came from.
class BackendDevice : public IDevice
{
public:
    // Null when the camera cannot be opened (gone, busy, no permission).
    virtual IStreamingCamera* open() const = 0;
    // The bus the device is on and what else streams there now.
    virtual UsbBandwidth::Bus bus() const { return {}; }
};

// Watches one backend's devices come and go.
class HotplugWatcher
{
public:
    // Called with ICameraEvent::CameraAdded or CameraRemoved, on any thread.
    using Report = std::function<void(int type)>;

    virtual ~HotplugWatcher() = default;
    virtual void start(Report report) = 0;
    // Once it returns, report is not called again.
    virtual void stop() = 0;
};

// One source of cameras: real devices through a kernel interface, or
// cameras simulated in the process.
class Backend
{
public:
    virtual ~Backend() = default;
    virtual void appendDevices(std::vector<std::unique_ptr<BackendDevice>>& devices) = 0;
    // Null when this backend cannot report arrivals and removals.
    virtual std::unique_ptr<HotplugWatcher> createHotplugWatcher() = 0;
};

} // namespace ImageAcquisition
