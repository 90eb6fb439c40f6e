#pragma once

#include <cstdint>
#include <string>

namespace UsbCamera {

// What the camera says about itself on the bus.
struct DeviceIdentity
{
    std::uint16_t vendorId = 0;
    std::uint16_t productId = 0;
    // The firmware version, binary-coded decimal: 0x0213 is 2.13.
    std::uint16_t bcdDevice = 0;
    std::string manufacturer;
    std::string product;
    std::string serial;

    std::string firmwareText() const;
};

} // namespace UsbCamera
