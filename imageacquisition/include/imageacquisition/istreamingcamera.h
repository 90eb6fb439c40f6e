#pragma once

#include "icamera.h"

#include <chrono>
#include <thread>

namespace ImageAcquisition {

class IFrame;

// An open camera that can stream. Deleting it closes the camera.
// The streaming calls return 0 on success and a negative errno otherwise.
class IStreamingCamera : public virtual ICamera
{
public:
    ~IStreamingCamera() override = default;

    virtual int allocateBuffers(int count) = 0;
    virtual int startStreaming() = 0;
    // Never blocks and never returns null: an empty frame when no picture is ready.
    virtual IFrame* getFrame() = 0;
    // Takes back a frame of getFrame; called exactly once for each.
    virtual void releaseFrame(IFrame* frame) = 0;
    virtual int stopStreaming() = 0;
    virtual int releaseBuffers() = 0;

    // Sleeps until getFrame() has a picture to hand out, so that a program
    // that can wait need not ask getFrame() in a loop. Returns 1 when a frame
    // is ready (another caller may still take it first: getFrame() can come
    // back empty, so loop), 0 when timeoutMs passed without one (0 only
    // looks), -ENODEV at once when the camera is unplugged (also while
    // waiting), and -EINVAL when the camera does not stream. Unlike every
    // other call it may run while another thread uses the camera (its
    // controls, or releaseFrame for a frame it is done with), so that they
    // need not wait for a frame; the other streaming calls stay with the
    // thread that waits.
    // This default, for cameras that cannot tell, sleeps a short while and
    // says a frame may be ready.
    virtual int waitForFrame(int timeoutMs)
    {
        const int slice = timeoutMs < 2 ? (timeoutMs > 0 ? timeoutMs : 0) : 2;
        std::this_thread::sleep_for(std::chrono::milliseconds(slice));
        return 1;
    }
};

} // namespace ImageAcquisition
