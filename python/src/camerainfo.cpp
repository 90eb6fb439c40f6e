#include "camerainfo.h"

#include <deviceproperties.h>
#include <imageacquisition/imageacquisition.h>

#include <memory>

namespace TarvelloPython {

using namespace ImageAcquisition;

CameraInfo CameraInfo::of(const IDevice& device, int index)
{
    CameraInfo info;
    info.entry = Tarvello::CameraEntry::from(device, index);
    for (const auto& property : Tarvello::DeviceProperties::of(device))
        info.properties.emplace_back(property.first.toStdString(), property.second.toStdString());
    return info;
}

std::vector<CameraInfo> CameraInfo::present()
{
    std::vector<CameraInfo> cameras;
    const std::unique_ptr<IDeviceList> list(ICameraFactory::getUniqueInstance()->getDeviceList());
    for (int i = 0; list && i < list->getDeviceCount(); ++i) {
        if (const IDevice* device = list->getDevice(i))
            cameras.push_back(of(*device, i));
    }
    return cameras;
}

std::string CameraInfo::property(const std::string& label) const
{
    for (const auto& property : properties) {
        if (property.first == label)
            return property.second;
    }
    return std::string();
}

} // namespace TarvelloPython
