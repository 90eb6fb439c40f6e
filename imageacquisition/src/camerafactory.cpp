#include "camerafactory.h"

#include "continuouscameramonitor.h"
#include "devicelist.h"
#include "v4l2/v4l2backend.h"
#include "virtual/virtualbackend.h"

namespace ImageAcquisition {

CameraFactory::CameraFactory()
{
    // Real devices are listed first, then the virtual cameras.
    m_backends.push_back(createV4l2Backend());
    m_backends.push_back(createVirtualBackend());
}

CameraFactory::~CameraFactory() = default;

ICameraFactory* ICameraFactory::getUniqueInstance()
{
    static CameraFactory factory;
    return &factory;
}

IDeviceList* CameraFactory::getDeviceList()
{
    std::vector<std::unique_ptr<BackendDevice>> devices;
    for (auto& backend : m_backends)
        backend->appendDevices(devices);
    return new DeviceList(std::move(devices));
}

IStreamingCamera* CameraFactory::createCamera(const IDevice* device)
{
    // Only devices of our own lists can be opened; anything else is refused
    // the same way as a device that has gone away.
    auto const* ours = dynamic_cast<const BackendDevice*>(device);
    return ours ? ours->open() : nullptr;
}

IContinuousCameraMonitor* CameraFactory::createContinuousCameraMonitor()
{
    std::vector<std::unique_ptr<HotplugWatcher>> watchers;
    for (auto& backend : m_backends) {
        if (auto watcher = backend->createHotplugWatcher())
            watchers.push_back(std::move(watcher));
    }
    return new ContinuousCameraMonitor(std::move(watchers));
}

} // namespace ImageAcquisition
