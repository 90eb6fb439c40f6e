#pragma once

#include "backend.h"

#include <imageacquisition/icamerafactory.h>

#include <memory>
#include <vector>

namespace ImageAcquisition {

// Lists the devices of every backend, real devices first, and opens them.
class CameraFactory : public ICameraFactory
{
public:
    CameraFactory();
    ~CameraFactory() override;

    IDeviceList* getDeviceList() override;
    IStreamingCamera* createCamera(const IDevice* device) override;
    IContinuousCameraMonitor* createContinuousCameraMonitor() override;

private:
    std::vector<std::unique_ptr<Backend>> m_backends;
};

} // namespace ImageAcquisition
