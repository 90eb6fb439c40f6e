#include "devicelist.h"

namespace ImageAcquisition {

DeviceList::DeviceList(std::vector<std::unique_ptr<BackendDevice>> devices)
    : m_devices(std::move(devices))
{
}

DeviceList::~DeviceList() = default;

int DeviceList::getDeviceCount() const
{
    return static_cast<int>(m_devices.size());
}

const IDevice* DeviceList::getDevice(int index) const
{
    if (index < 0 || index >= getDeviceCount())
        return nullptr;
    return m_devices[static_cast<size_t>(index)].get();
}

} // namespace ImageAcquisition
