#include "virtualbackend.h"

#include "virtualdevice.h"
#include "virtualhotplugwatcher.h"
#include "virtualregistry.h"

namespace ImageAcquisition {

namespace {

class VirtualBackend : public Backend
{
public:
    void appendDevices(std::vector<std::unique_ptr<BackendDevice>>& devices) override
    {
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
