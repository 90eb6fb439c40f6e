#pragma once

namespace ImageAcquisition {

// Description of one camera device. Owned by the device list or the camera
// that handed it out; texts are owned by the device.
class IDevice
{
public:
    virtual ~IDevice() = default;

    virtual const char* getName() const = 0;
    virtual const char* getSystemName() const = 0;
    virtual const char* getDriver() const = 0;
    virtual const char* getBusInfo() const = 0;
    virtual const char* getDriverVersion() const = 0;
    virtual const char* getVendorId() const = 0;
    virtual const char* getProductId() const = 0;
    virtual const char* getManufacturer() const = 0;
    virtual const char* getSerial() const = 0;
    virtual const char* getFirmwareVersion() const = 0;
    virtual bool supportsAsynchIO() const = 0;
    virtual bool supportsMultiplane() const = 0;
    virtual bool supportsReadWrite() const = 0;
    virtual bool supportsStreaming() const = 0;
    virtual bool supportsVideoCapture() const = 0;
    // One of Kelvane's own cameras (see kelvane.h for how it is recognised).
    virtual bool isKelvaneDevice() const = 0;
    // The device node of the camera's own serial line (such as /dev/ttyACM1
    // or a virtual camera's pseudo-terminal); empty when it has none or the
    // layer cannot tell. The window keeps opening /dev/ttyACM0 regardless;
    // this is for programs that serve several cameras at once.
    virtual const char* getSerialLine() const { return ""; }
};

} // namespace ImageAcquisition
