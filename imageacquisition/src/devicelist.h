#pragma once

#include "backend.h"

#include <imageacquisition/idevicelist.h>

#include <memory>
#include <vector>

namespace ImageAcquisition {

class DeviceList : public IDeviceList
{
public:
    explicit DeviceList(std::vector<std::unique_ptr<BackendDevice>> devices);
    ~DeviceList() override;

    int getDeviceCount() const override;
    const IDevice* getDevice(int index) const override;

private:
    std::vector<std::unique_ptr<BackendDevice>> m_devices;
};

} // namespace ImageAcquisition
