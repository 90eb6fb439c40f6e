#pragma once

#include "v4l2control.h"
#include "v4l2device.h"
#include "v4l2handle.h"
#include "v4l2pixelformat.h"
#include "v4l2stream.h"

#include <imageacquisition/istreamingcamera.h>

#include <memory>
#include <vector>

namespace ImageAcquisition {

// An open V4L2 capture device: its formats, controls and stream.
//
// A device that is unplugged while open is not an error of the camera
// object: frames come back empty and the streaming calls fail with -ENODEV
// until the application deletes it.
class V4l2Camera : public IStreamingCamera
{
public:
    // Null when the node cannot be opened or is no longer the device the
    // description was made of.
    static std::unique_ptr<V4l2Camera> open(const V4l2Device& device);
    ~V4l2Camera() override;

    int getControlCount() const override;
    const IDevice* getDevice() const override { return &m_device; }
    ICameraControl* getControl(int index) override;
    int getFormatCount() const override;
    IPixelFormat* getFormat(int index) override;
    int getCurrentFormatIndex() const override { return m_format; }
    int getCurrentResolutionIndex() const override { return m_resolution; }
    int getCurrentFrameIntervalIndex() const override { return m_interval; }
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
    V4l2Camera(const V4l2Device& device, std::unique_ptr<V4l2Handle> handle);

    // Finds the indexes of what the device has in force; false when some
    // part of it is not in the lists.
    bool readSelection();
    bool applyInterval(const V4l2FrameInterval* interval);

    V4l2Device m_device;
    // Declared before everything that talks to the device, so that it is
    // closed last.
    std::unique_ptr<V4l2Handle> m_handle;
    std::vector<V4l2PixelFormat> m_formats;
    std::vector<std::unique_ptr<V4l2Control>> m_controls;
    V4l2Stream m_stream;
    int m_format = -1;
    int m_resolution = -1;
    int m_interval = -1;
};

} // namespace ImageAcquisition
