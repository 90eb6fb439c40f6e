#pragma once

#include "backend.h"
#include "usbinfo.h"

#include <cstdint>
#include <memory>
#include <string>

struct v4l2_capability;

namespace ImageAcquisition {

class SysfsReader;

// Snapshot of one video capture node: what VIDIOC_QUERYCAP and the USB parent
// in sysfs said when the device list was made. Copyable, so that a camera
// keeps its own description after the list is gone.
class V4l2Device : public BackendDevice
{
public:
    // Null when the node cannot be opened or is not a single-planar
    // streaming capture node (metadata, output and multi-planar nodes are
    // left out: the camera speaks single-planar capture only).
    static std::unique_ptr<V4l2Device> probe(const std::string& path, const SysfsReader& sysfs);

    V4l2Device(const std::string& path, const v4l2_capability& capability, UsbInfo usb);

    // The capabilities of the node itself when the driver reports them
    // separately from those of the whole device.
    static std::uint32_t nodeCapabilities(const v4l2_capability& capability);
    static bool isUsableCapture(std::uint32_t capabilities);
    // KERNEL_VERSION-style number as "major.minor.patch".
    static std::string formatVersion(std::uint32_t version);

    IStreamingCamera* open() const override;
    UsbBandwidth::Bus bus() const override;

    const char* getName() const override { return m_name.c_str(); }
    const char* getSystemName() const override { return m_path.c_str(); }
    const char* getDriver() const override { return m_driver.c_str(); }
    const char* getBusInfo() const override { return m_busInfo.c_str(); }
    const char* getDriverVersion() const override { return m_driverVersion.c_str(); }
    const char* getVendorId() const override { return m_usb.vendorId.c_str(); }
    const char* getProductId() const override { return m_usb.productId.c_str(); }
    const char* getManufacturer() const override { return m_usb.manufacturer.c_str(); }
    const char* getSerial() const override { return m_usb.serial.c_str(); }
    const char* getFirmwareVersion() const override { return m_usb.firmwareVersion.c_str(); }
    bool supportsAsynchIO() const override;
    bool supportsMultiplane() const override;
    bool supportsReadWrite() const override;
    bool supportsStreaming() const override;
    bool supportsVideoCapture() const override;
    bool isKelvaneDevice() const override;
    // Looked up at each call: the serial function binds on its own schedule.
    const char* getSerialLine() const override;

    const std::string& path() const { return m_path; }

private:
    std::string m_path;
    std::string m_name;
    std::string m_driver;
    std::string m_busInfo;
    std::string m_driverVersion;
    std::uint32_t m_capabilities = 0;
    UsbInfo m_usb;
    mutable std::string m_serialLine;
};

} // namespace ImageAcquisition
