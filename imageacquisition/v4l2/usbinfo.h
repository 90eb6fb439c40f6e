#pragma once

#include <string>

namespace ImageAcquisition {

// What the USB device behind a video node says about itself; every field is
// empty for a device that is not on USB.
struct UsbInfo
{
    std::string vendorId;       // four lower-case hex digits, as sysfs gives it
    std::string productId;
    std::string manufacturer;
    std::string serial;
    std::string firmwareVersion; // bcdDevice as "major.minor", e.g. "1.02"
    std::string sysfsPath;       // the USB device's folder in sysfs
};

} // namespace ImageAcquisition
