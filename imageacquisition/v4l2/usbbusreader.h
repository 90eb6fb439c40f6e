#pragma once

#include <imageacquisition/usbbandwidth.h>

#include <string>

namespace ImageAcquisition {

// What streams on a USB bus, read from sysfs. A UVC camera that streams
// isochronously has its video streaming interface on an alternate setting
// other than 0, whose endpoint says how much of every (micro)frame it
// holds; a bulk camera reserves nothing. The root is a parameter so that
// the reading can be tried on a fake tree.
class UsbBusReader
{
public:
    explicit UsbBusReader(std::string root = "/sys");

    // The bus of the USB device in usbDevicePath (its folder in sysfs) and
    // the other cameras streaming on it, each with the capture node that
    // names it (format left empty: sysfs does not know it).
    UsbBandwidth::Bus busOf(const std::string& usbDevicePath) const;

    // Bytes a second an isochronous endpoint holds: its wMaxPacketSize
    // attribute (hex; for high speed, bits 11-12 count extra transactions
    // in a microframe), its bInterval and the bus speed in Mbit/s.
    static long long isochronousRate(const std::string& maxPacketSize, int interval, int speedMbps);
    // Bytes a second a bus of that speed can reserve for periodic
    // transfers: 80 % of a high-speed microframe, 90 % of a full-speed
    // frame (USB 2.0, 5.7.4), and of a SuperSpeed link.
    static long long periodicCapacity(int speedMbps);

private:
    std::string m_root;
};

} // namespace ImageAcquisition
