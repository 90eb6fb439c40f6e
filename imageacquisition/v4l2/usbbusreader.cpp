#include "usbbusreader.h"

#include "sysfsreader.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

namespace ImageAcquisition {

namespace {

int number(const std::string& text, int base = 10)
{
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, base);
    return end != text.c_str() && value >= 0 && value <= INT_MAX ? static_cast<int>(value) : -1;
}

std::string speedText(int mbps)
{
    if (mbps >= 5000)
        return "SuperSpeed, " + std::to_string(mbps / 1000) + " Gbit/s";
    if (mbps == 480)
        return "high speed, 480 Mbit/s";
    if (mbps == 12)
        return "full speed, 12 Mbit/s";
    return std::to_string(mbps) + " Mbit/s";
}

} // namespace

UsbBusReader::UsbBusReader(std::string root) : m_root(std::move(root)) {}

long long UsbBusReader::isochronousRate(const std::string& maxPacketSize, int interval, int speedMbps)
{
    const int field = number(maxPacketSize, 16);
    if (field <= 0 || interval <= 0)
        return 0;
    const long long bytes = field & 0x7ff;
    if (speedMbps == 12) // one packet every 2^(interval-1) frames of 1 ms
        return bytes * 1000 / (1LL << std::min(interval - 1, 15));
    // High speed and up: microframes of 125 us, up to three transactions each.
    const long long transactions = 1 + ((field >> 11) & 0x3);
    return bytes * transactions * 8000 / (1LL << std::min(interval - 1, 15));
}

long long UsbBusReader::periodicCapacity(int speedMbps)
{
    if (speedMbps == 12)
        return 1500LL * 1000 * 9 / 10;
    if (speedMbps == 480)
        return 7500LL * 8000 * 8 / 10;
    if (speedMbps >= 5000)
        return static_cast<long long>(speedMbps) * 1000000 / 10 * 9 / 10;
    return 0;
}

UsbBandwidth::Bus UsbBusReader::busOf(const std::string& usbDevicePath) const
{
    UsbBandwidth::Bus bus;
    const int busNumber = number(SysfsReader::attribute(usbDevicePath, "busnum"));
    if (busNumber < 0)
        return bus;
    const std::string devices = m_root + "/bus/usb/devices";
    const int speed = number(SysfsReader::attribute(devices + "/usb" + std::to_string(busNumber), "speed"));
    bus.name = "USB bus " + std::to_string(busNumber) + (speed > 0 ? " (" + speedText(speed) + ")" : "");
    bus.capacity = periodicCapacity(speed);
    const std::string self = SysfsReader::canonical(usbDevicePath);
    for (const std::string& name : SysfsReader::entries(devices)) {
        // Devices only: interfaces have a colon, root hubs are "usbN".
        if (name.find(':') != std::string::npos || name.rfind("usb", 0) == 0)
            continue;
        const std::string device = SysfsReader::canonical(devices + "/" + name);
        if (device.empty() || device == self || number(SysfsReader::attribute(device, "busnum")) != busNumber)
            continue;
        UsbBandwidth::Stream stream;
        for (const std::string& interface : SysfsReader::entries(device)) {
            if (interface.find(':') == std::string::npos)
                continue;
            const std::string folder = device + "/" + interface;
            for (const std::string& node : SysfsReader::entries(folder + "/video4linux")) {
                if (stream.node.empty()) {
                    stream.node = "/dev/" + node;
                    stream.name = SysfsReader::attribute(folder + "/video4linux/" + node, "name");
                }
            }
            // A video streaming interface (class 0e, subclass 02) off its
            // zero-bandwidth setting.
            if (SysfsReader::attribute(folder, "bInterfaceClass") != "0e" || SysfsReader::attribute(folder, "bInterfaceSubClass") != "02"
                || number(SysfsReader::attribute(folder, "bAlternateSetting")) <= 0)
                continue;
            for (const std::string& endpoint : SysfsReader::entries(folder)) {
                const std::string ep = folder + "/" + endpoint;
                if (endpoint.rfind("ep_", 0) == 0 && SysfsReader::attribute(ep, "type") == "Isoc")
                    stream.bytesPerSecond +=
                        isochronousRate(SysfsReader::attribute(ep, "wMaxPacketSize"), number(SysfsReader::attribute(ep, "bInterval"), 16), speed);
            }
        }
        if (stream.bytesPerSecond > 0) {
            stream.serial = SysfsReader::attribute(device, "serial");
            if (stream.name.empty())
                stream.name = SysfsReader::attribute(device, "product");
            bus.streams.push_back(stream);
        }
    }
    return bus;
}

} // namespace ImageAcquisition
