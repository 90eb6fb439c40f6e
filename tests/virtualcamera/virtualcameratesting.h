#pragma once

// Helpers shared by the virtual camera's tests.

#include <imageacquisition/imageacquisition.h>
#include <imageacquisition/virtualcameras.h>

#include <QByteArray>

#include <memory>

namespace VirtualCameraTesting {

using namespace ImageAcquisition;

// Leaves exactly count virtual cameras, freshly plugged in.
inline void plugInFresh(int count)
{
    qputenv("IMAGEACQUISITION_VIRTUAL_CAMERAS", "0");
    while (VirtualCameras::count() > 0)
        VirtualCameras::unplug(0);
    qputenv("IMAGEACQUISITION_VIRTUAL_CAMERAS", QByteArray::number(count));
    VirtualCameras::count();
}

inline std::unique_ptr<IStreamingCamera> openCamera(int index = 0)
{
    std::unique_ptr<IDeviceList> list(ICameraFactory::getUniqueInstance()->getDeviceList());
    return std::unique_ptr<IStreamingCamera>(ICameraFactory::getUniqueInstance()->createCamera(list->getDevice(index)));
}

} // namespace VirtualCameraTesting
