#pragma once

#include "backend.h"

#include <memory>
#include <string>

namespace ImageAcquisition {

class VirtualUnit;

// The description of one virtual camera, as it was when the device list
// was made.
//
// It is one of the maker's cameras by its vendor id; the application then
// opens the camera's serial line at /dev/ttyACM0. Where that path could
// not be linked to this camera's line (the path is taken, or the process
// may not create it), the device does not report itself as the maker's,
// so that nothing tries to open a serial port that is not there.
class VirtualDevice : public BackendDevice
{
public:
    explicit VirtualDevice(std::shared_ptr<VirtualUnit> unit);
    ~VirtualDevice() override;

    const char* getName() const override { return m_name.c_str(); }
    const char* getSystemName() const override { return m_systemName.c_str(); }
    const char* getDriver() const override { return "imageacquisition-virtual"; }
    const char* getBusInfo() const override { return m_busInfo.c_str(); }
    const char* getDriverVersion() const override { return "1.0.0"; }
    const char* getVendorId() const override { return m_vendorId.c_str(); }
    const char* getProductId() const override { return "1080"; }
    const char* getManufacturer() const override { return "Kelvane"; }
    const char* getSerial() const override { return m_serial.c_str(); }
    const char* getFirmwareVersion() const override { return "2.4.1-virtual"; }
    bool supportsAsynchIO() const override { return false; }
    bool supportsMultiplane() const override { return false; }
    bool supportsReadWrite() const override { return false; }
    bool supportsStreaming() const override { return true; }
    bool supportsVideoCapture() const override { return true; }
    bool isKelvaneDevice() const override;
    // The camera's own pseudo-terminal, linked to /dev/ttyACM0 or not.
    const char* getSerialLine() const override { return m_serialLine.c_str(); }

    IStreamingCamera* open() const override;
    UsbBandwidth::Bus bus() const override;

private:
    std::shared_ptr<VirtualUnit> m_unit;
    std::string m_name;
    std::string m_systemName;
    std::string m_busInfo;
    std::string m_vendorId;
    std::string m_serial;
    std::string m_serialLine;
    unsigned short m_vendor;
    bool m_serialLinked;
};

} // namespace ImageAcquisition
