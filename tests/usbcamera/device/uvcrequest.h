#pragma once

#include <cstdint>

namespace UsbCamera {

// UVC's class-specific request codes.
namespace UvcRequest {
enum : std::uint8_t
{
    SetCur = 0x01,
    GetCur = 0x81,
    GetMin = 0x82,
    GetMax = 0x83,
    GetRes = 0x84,
    GetLen = 0x85,
    GetInfo = 0x86,
    GetDef = 0x87,
};

const char* name(std::uint8_t request);
} // namespace UvcRequest

} // namespace UsbCamera
