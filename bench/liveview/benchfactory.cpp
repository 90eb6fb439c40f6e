#include "benchfactory.h"

#include "benchcamera.h"

// The layer's own factory class: the benchmark wraps it rather than going
// through the exported entry point, which this program replaces.
#include "camerafactory.h"

using namespace ImageAcquisition;

ICameraFactory* ICameraFactory::getUniqueInstance()
{
    return &BenchFactory::instance();
}

BenchFactory& BenchFactory::instance()
{
    static BenchFactory factory;
    return factory;
}

BenchFactory::BenchFactory() : m_real(new CameraFactory) {}

BenchFactory::~BenchFactory() = default;

IDeviceList* BenchFactory::getDeviceList()
{
    return m_real->getDeviceList();
}

IStreamingCamera* BenchFactory::createCamera(const IDevice* device)
{
    IStreamingCamera* real = m_real->createCamera(device);
    return real ? new BenchCamera(real, m_replay) : nullptr;
}

IContinuousCameraMonitor* BenchFactory::createContinuousCameraMonitor()
{
    return m_real->createContinuousCameraMonitor();
}
