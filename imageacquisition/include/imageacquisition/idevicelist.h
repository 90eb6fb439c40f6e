#pragma once

namespace ImageAcquisition {

class IDevice;

// Snapshot of the devices present when it was made. Owned by the caller;
// deleting it frees every device it handed out.
class IDeviceList
{
public:
    virtual ~IDeviceList() = default;

    virtual int getDeviceCount() const = 0;
    // Null for an index outside 0 .. getDeviceCount() - 1.
    virtual const IDevice* getDevice(int index) const = 0;
};

} // namespace ImageAcquisition
