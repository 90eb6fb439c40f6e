#pragma once

#include "usbipconnection.h"

#include <memory>
#include <string>

namespace UsbCamera {

// A port of the kernel's virtual USB host controller (vhci_hcd, Debian's
// stock module): the device is plugged in by handing the kernel one end of
// a socket pair and serving USB/IP on the other, and unplugged by detaching
// the port, which is what pulling the cable looks like to the host's drivers.
class VhciPort
{
public:
    explicit VhciPort(int port, std::string controller = "/sys/devices/platform/vhci_hcd.0");

    // A high-speed device on the port; null with the reason in error.
    std::unique_ptr<UsbIpConnection> attach(std::string& error) const;
    // Unplugs whatever is on the port; false when nothing was.
    bool detach() const;

    int number() const { return m_port; }

private:
    int m_port;
    std::string m_controller;
};

} // namespace UsbCamera
