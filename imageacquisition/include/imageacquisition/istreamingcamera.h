#pragma once

#include "icamera.h"

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
};

} // namespace ImageAcquisition
