#pragma once

#include "replayframe.h"

#include <imageacquisition/istreamingcamera.h>

#include <memory>

// Stands between the application and a real camera of the layer. It passes
// everything through and notes the frames the application takes (FrameTap).
// In replay mode, once streaming it hands out the first real picture again
// and again, always ready, numbered on and stamped with the current time.
class BenchCamera : public ImageAcquisition::IStreamingCamera
{
public:
    BenchCamera(ImageAcquisition::IStreamingCamera* real, bool replay);
    ~BenchCamera() override;

    int getControlCount() const override { return m_real->getControlCount(); }
    const ImageAcquisition::IDevice* getDevice() const override { return m_real->getDevice(); }
    ImageAcquisition::ICameraControl* getControl(int index) override { return m_real->getControl(index); }
    int getFormatCount() const override { return m_real->getFormatCount(); }
    ImageAcquisition::IPixelFormat* getFormat(int index) override { return m_real->getFormat(index); }
    int getCurrentFormatIndex() const override { return m_real->getCurrentFormatIndex(); }
    int getCurrentResolutionIndex() const override { return m_real->getCurrentResolutionIndex(); }
    int getCurrentFrameIntervalIndex() const override { return m_real->getCurrentFrameIntervalIndex(); }
    void reset() override { m_real->reset(); }
    bool setFormat(int formatIndex, int resolutionIndex, int intervalIndex) override;

    int allocateBuffers(int count) override { return m_real->allocateBuffers(count); }
    int startStreaming() override;
    ImageAcquisition::IFrame* getFrame() override;
    void releaseFrame(ImageAcquisition::IFrame* frame) override;
    int stopStreaming() override { return m_real->stopStreaming(); }
    int releaseBuffers() override { return m_real->releaseBuffers(); }

    // The picture replayed (empty unless in replay mode and streaming).
    const ReplayFrame& replayed() const { return m_replay; }
    static BenchCamera* current();

private:
    bool captureReplayFrame();

    std::unique_ptr<ImageAcquisition::IStreamingCamera> m_real;
    bool m_replayMode;
    ReplayFrame m_replay;
};
