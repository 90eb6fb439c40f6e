#pragma once

#include <cstdint>
#include <vector>

namespace UsbCamera {

// The registers behind the camera's controls.
enum class Register
{
    AutoExposureMode,
    ExposureTime,
    Brightness,
    Contrast,
    Gain,
    WhiteBalanceTemperature,
    WhiteBalanceAuto,
    Temperature,
    ErrorStatus,
    TriggerAuto,
    LockAuto,
    CoolingFan,
};
constexpr int kRegisterCount = 12;

// One UVC control as the device declares it: where it is (unit and
// selector), how its value travels, its range and what GET_INFO says.
struct UvcControl
{
    const char* name;
    std::uint8_t unit;
    std::uint8_t selector;
    std::uint8_t size;
    bool isSigned;
    // A bitmap of modes (auto exposure): GET_RES gives the supported bits
    // and there is no GET_MIN or GET_MAX.
    bool isBitmap;
    std::int32_t minimum;
    std::int32_t maximum;
    std::int32_t resolution;
    std::int32_t defaultValue;
    std::uint8_t info;
    Register reg;
};

// Every control of the camera terminal, the processing unit and the
// maker's extension unit; the extension unit's come from kelvane.h.
class ControlTable
{
public:
    static const std::vector<UvcControl>& all();
    static const UvcControl* find(std::uint8_t unit, std::uint8_t selector);
    static const UvcControl& of(Register reg);
};

} // namespace UsbCamera
