#pragma once

#include <imageacquisition/icamerafactory.h>

#include <memory>

// The camera layer as the benchmark's application sees it: the real layer's
// factory, with every camera it opens wrapped in a BenchCamera. Its
// ICameraFactory::getUniqueInstance, defined in the benchmark program, takes
// the place of the layer's own.
class BenchFactory : public ImageAcquisition::ICameraFactory
{
public:
    static BenchFactory& instance();
    // Replay mode for cameras opened from now on (see BenchCamera).
    void setReplay(bool replay) { m_replay = replay; }

    ImageAcquisition::IDeviceList* getDeviceList() override;
    ImageAcquisition::IStreamingCamera* createCamera(const ImageAcquisition::IDevice* device) override;
    ImageAcquisition::IContinuousCameraMonitor* createContinuousCameraMonitor() override;

private:
    BenchFactory();
    ~BenchFactory() override;

    std::unique_ptr<ImageAcquisition::ICameraFactory> m_real;
    bool m_replay = false;
};
