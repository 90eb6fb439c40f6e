#include "virtualbackend.h"

#include "devicelink.h"
#include "virtualdevice.h"
#include "virtualhotplugwatcher.h"
#include "virtualregistry.h"
#include "virtualunit.h"

namespace ImageAcquisition {

namespace {

class VirtualBackend : public Backend
{
public:
    // In every process that uses the layer, virtual cameras wanted or not:
    // a link a killed virtual camera left at /dev/ttyACM0 would keep a real
    // camera's serial node from appearing there, and send the window into a
    // pseudo-terminal that may by now belong to somebody else's terminal.
    VirtualBackend() { DeviceLink::removeAbandoned(VirtualUnit::kSerialDevicePath); }

    void appendDevices(std::vector<std::unique_ptr<BackendDevice>>& devices) override
    {
        // Again at each list: its maker may have died since.
        DeviceLink::removeAbandoned(VirtualUnit::kSerialDevicePath);
        for (auto& unit : VirtualRegistry::instance().units())
            devices.push_back(std::make_unique<VirtualDevice>(unit));
    }

    std::unique_ptr<HotplugWatcher> createHotplugWatcher() override
    {
        return std::make_unique<VirtualHotplugWatcher>(VirtualRegistry::instance());
    }
};

} // namespace

std::unique_ptr<Backend> createVirtualBackend()
{
    return std::make_unique<VirtualBackend>();
}

} // namespace ImageAcquisition
