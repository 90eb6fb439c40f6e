#pragma once

namespace ImageAcquisition {

// Told by the registry of virtual cameras when one is plugged in or out.
class HotplugListener
{
public:
    virtual ~HotplugListener() = default;
    // type is ICameraEvent::CameraAdded or CameraRemoved. Called with the
    // registry's lock held: take note and return, never call back.
    virtual void onHotplug(int type) = 0;
};

} // namespace ImageAcquisition
