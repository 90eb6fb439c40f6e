#pragma once

namespace ImageAcquisition {

// The controls of the virtual camera, in the order the camera lists them.
enum class ControlId
{
    Brightness,
    Contrast,
    Gain,
    WhiteBalance,
    ExposureAuto,
    ExposureTime,
    Focus,
    TestPattern,
    LinkFrequency,
    OverlayText,
    CoolingFan,
    RestartSequence,
    OverlayElements,
    Temperature,
    ErrorStatus,
    TriggerAuto,
    LockAuto,
    Count
};

constexpr int kControlCount = static_cast<int>(ControlId::Count);

// Bits of "Trigger Auto Controls" and "Lock Auto Controls".
enum AutoFunction : unsigned
{
    AutoExposure = 0x1,
    AutoFocus = 0x2,
    AutoWhiteBalance = 0x4,
    AutoAll = 0x7,
};

// Bits of "Error Status" that the virtual camera raises.
enum ErrorBit : unsigned
{
    ErrorOverTemperature = 0x00000001,
    ErrorTriggerTimeout = 0x00020000,
    ErrorNotInFocus = 0x00040000,
};

} // namespace ImageAcquisition
