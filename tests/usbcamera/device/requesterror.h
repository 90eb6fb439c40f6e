#pragma once

#include <cstdint>

namespace UsbCamera {

// Why the camera refused a control request: UVC's request error codes,
// which the host reads after a stall (VC_REQUEST_ERROR_CODE_CONTROL).
enum class RequestError : std::uint8_t
{
    None = 0x00,
    WrongState = 0x02,
    OutOfRange = 0x04,
    InvalidUnit = 0x05,
    InvalidControl = 0x06,
    InvalidRequest = 0x07,
};

} // namespace UsbCamera
