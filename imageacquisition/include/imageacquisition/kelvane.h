#pragma once

namespace ImageAcquisition {

// USB vendor id of Kelvane, the maker of the cameras the application is
// built for. Every backend recognises the maker's devices by it, and the
// installed udev rule matches on it.
constexpr unsigned short kKelvaneUsbVendorId = 0x2f7a;
constexpr const char* kKelvaneUsbVendorIdText = "2f7a";

} // namespace ImageAcquisition
