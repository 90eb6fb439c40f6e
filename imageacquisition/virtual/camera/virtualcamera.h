#pragma once

#include "frameclock.h"
#include "framepool.h"
#include "framerenderer.h"
#include "virtualcontrol.h"
#include "virtualpixelformat.h"

#include <imageacquisition/istreamingcamera.h>

#include <memory>
#include <vector>

namespace ImageAcquisition {

class VirtualDevice;
class VirtualUnit;

// An open virtual camera. Frames are made on demand in getFrame, when the
// clock says the next one is ready at the selected interval; getFrame never
// waits. A frame stays valid until it is given back (or the camera is
// deleted); while every buffer is out, frames that come due are dropped
// and getFrame answers with the empty frame, as a driver whose queue ran dry.
//
// Once the device is unplugged the object keeps answering: empty frames,
// -ENODEV from the streaming calls, refused control writes.
class VirtualCamera : public IStreamingCamera
{
public:
    explicit VirtualCamera(std::shared_ptr<VirtualUnit> unit);
    ~VirtualCamera() override;

    int getControlCount() const override;
    const IDevice* getDevice() const override;
    ICameraControl* getControl(int index) override;
    int getFormatCount() const override;
    IPixelFormat* getFormat(int index) override;
    int getCurrentFormatIndex() const override { return m_formatIndex; }
    int getCurrentResolutionIndex() const override { return m_resolutionIndex; }
    int getCurrentFrameIntervalIndex() const override { return m_intervalIndex; }
    void reset() override;
    bool setFormat(int formatIndex, int resolutionIndex, int intervalIndex) override;

    int allocateBuffers(int count) override;
    int startStreaming() override;
    IFrame* getFrame() override;
    void releaseFrame(IFrame* frame) override;
    int stopStreaming() override;
    int releaseBuffers() override;
    int waitForFrame(int timeoutMs) override;

private:
    // A frame drawn (and compressed) while a caller waits for it, as a
    // sensor exposes a frame during the period before it is read out, so
    // that the frame is there the moment it is due.
    struct Prepared
    {
        VirtualFrame* frame = nullptr;
        unsigned long long index = 0;
        unsigned long long sequenceGeneration = 0;
    };

    bool isPlugged() const;
    // Draws the frame of tick into a free buffer; null when none is free or
    // the drawing failed.
    VirtualFrame* produce(const FrameClock::Tick& tick, const ImageSettings& settings);
    void prepareUpcoming();
    void dropPrepared();
    void stop();
    void freeBuffers();
    VirtualPixelFormat& format() const;
    VirtualResolution& resolution() const;
    VirtualFrameInterval& interval() const;
    std::string caption() const;

    std::shared_ptr<VirtualUnit> m_unit;
    std::unique_ptr<VirtualDevice> m_device;
    std::vector<std::unique_ptr<VirtualPixelFormat>> m_formats;
    std::vector<std::unique_ptr<VirtualControl>> m_controls;
    int m_formatIndex = 0;
    int m_resolutionIndex = 1;
    int m_intervalIndex = 1;

    bool m_streaming = false;
    FramePool m_pool;
    FrameClock m_clock;
    unsigned long long m_sequenceGeneration = 0;
    FrameRenderer m_renderer;
    VirtualFrame m_emptyFrame;
    Prepared m_prepared;
};

} // namespace ImageAcquisition
