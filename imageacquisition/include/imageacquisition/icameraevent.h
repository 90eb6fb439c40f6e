#pragma once

namespace ImageAcquisition {

// One report of the continuous camera monitor. The receiver deletes it.
class ICameraEvent
{
public:
    enum Type
    {
        CameraAdded = 1,
        CameraRemoved = 2,
    };

    virtual ~ICameraEvent() = default;

    // CameraAdded, CameraRemoved, or a kind the receiver may ignore.
    virtual int getType() const = 0;
};

} // namespace ImageAcquisition
