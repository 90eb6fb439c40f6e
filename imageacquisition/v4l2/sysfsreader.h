#pragma once

#include "usbinfo.h"

#include <string>
#include <vector>

namespace ImageAcquisition {

// Reads the properties of a video node's USB parent from sysfs. The root is
// a parameter so that the parsing can be tried on a fake tree.
class SysfsReader
{
public:
    explicit SysfsReader(std::string root = "/sys");

    // nodeName is the node's name without /dev/, e.g. "video0".
    UsbInfo usbInfo(const std::string& nodeName) const;

    // "0102" -> "1.02", "1234" -> "12.34"; anything that is not four BCD
    // digits comes back unchanged.
    static std::string formatBcdVersion(const std::string& bcd);

    // The device node of the serial line that a USB device (its folder in
    // sysfs, as usbInfo() found it) brings along, such as "/dev/ttyACM1":
    // cdc_acm hangs it below one of the device's interfaces, beside the
    // interface that holds the video node. Empty when there is none (yet:
    // the serial function may bind a moment after the camera's).
    static std::string serialLine(const std::string& usbDevicePath);

    // An attribute's first line without its surrounding blanks; empty when
    // there is none.
    static std::string attribute(const std::string& directory, const char* name);
    // The names in a folder, sorted, without the hidden ones.
    static std::vector<std::string> entries(const std::string& directory);
    // The path with every link resolved; empty when it does not exist.
    static std::string canonical(const std::string& path);

private:

    std::string m_root;
};

} // namespace ImageAcquisition
