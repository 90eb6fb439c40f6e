#pragma once

#include <cstdint>

namespace ImageAcquisition {

// USB vendor id of Kelvane, the maker of the cameras the application is
// built for. Every backend recognises the maker's devices by it, and the
// installed udev rule matches on it.
constexpr unsigned short kKelvaneUsbVendorId = 0x2f7a;
constexpr const char* kKelvaneUsbVendorIdText = "2f7a";

// The maker's UVC extension unit: the controls a UVC camera of the maker
// has beyond the camera terminal and the processing unit. A host finds the
// unit by its GUID (the unit id is the firmware's choice) and each control
// by its selector. Values travel little-endian in the control's size.
//
// uvcvideo shows these controls only once a program maps them
// (UVCIOC_CTRL_MAP); the V4L2 backend does that at every open, under the
// V4L2 ids below (driver-private ids of the camera class), so that they
// form the maker's family.
namespace KelvaneExtensionUnit {

// {d9ab1191-af0e-4d94-aa74-e3861485f7e7}, in the byte order of
// guidExtensionCode in the unit's descriptor.
constexpr std::uint8_t kGuid[16] = {0x91, 0x11, 0xab, 0xd9, 0x0e, 0xaf, 0x94, 0x4d,
                                    0xaa, 0x74, 0xe3, 0x86, 0x14, 0x85, 0xf7, 0xe7};
constexpr const char* kGuidText = "d9ab1191-af0e-4d94-aa74-e3861485f7e7";
// The unit id the maker's firmware gives the unit (hosts look it up by GUID).
constexpr std::uint8_t kUnitId = 6;

// GET_INFO bits, as UVC defines them.
enum Info : std::uint8_t
{
    InfoGet = 0x01,
    InfoSet = 0x02,
    // The camera changes the value by itself; without this bit uvcvideo
    // answers reads from its cache and never sees the change.
    InfoAutoUpdate = 0x08,
};

// How the bytes of a value are read.
enum class DataType
{
    Signed,
    Unsigned,
    Boolean,
};

// What a control looks like to V4L2 once mapped.
enum class Kind
{
    Integer,
    Boolean,
};

enum Selector : std::uint8_t
{
    SelectorTemperature = 0x01,
    SelectorErrorStatus = 0x02,
    SelectorTriggerAuto = 0x03,
    SelectorLockAuto = 0x04,
    SelectorCoolingFan = 0x05,
};

// Bits of the trigger and lock controls.
enum AutoFunction : std::uint32_t
{
    AutoExposure = 0x1,
    AutoFocus = 0x2,
    AutoWhiteBalance = 0x4,
};

// Error Status bits the firmware raises; writing a bit clears it, and -1
// (all 32 bits) clears every error.
enum ErrorBit : std::uint32_t
{
    ErrorOverTemperature = 0x00000001,
    ErrorTriggerTimeout = 0x00020000,
    ErrorNotInFocus = 0x00040000,
};

// V4L2 ids of the mapped controls: the driver-private range of the camera
// class (V4L2_CID_CAMERA_CLASS_BASE + 0x2f00 and up).
constexpr std::uint32_t kV4l2IdBase = 0x009a0900 + 0x2f00;

struct Control
{
    // The name V4L2 shows and the window matches, byte for byte.
    const char* name;
    Selector selector;
    // Bytes of the value on the wire (GET_LEN).
    std::uint8_t size;
    DataType dataType;
    Kind kind;
    std::int32_t minimum;
    std::int32_t maximum;
    std::int32_t step;
    std::int32_t defaultValue;
    // GET_INFO: read-only controls lack InfoSet.
    std::uint8_t info;
    std::uint32_t v4l2Id;
};

// Listed in the order the settings show them.
constexpr Control kControls[] = {
    // Sensor board temperature in hundredths of a degree Celsius.
    {"Temperature (C)", SelectorTemperature, 2, DataType::Signed, Kind::Integer, -4000, 12500, 1, 2500,
     InfoGet | InfoAutoUpdate, kV4l2IdBase + SelectorTemperature},
    // Error bits; a signed 32-bit value, so that -1 arrives as all bits.
    {"Error Status", SelectorErrorStatus, 4, DataType::Signed, Kind::Integer, INT32_MIN, INT32_MAX, 1, 0,
     InfoGet | InfoSet | InfoAutoUpdate, kV4l2IdBase + SelectorErrorStatus},
    // Starts one-shot adjustments (AutoFunction bits); reads back the ones
    // still running, 0 once all have ended.
    {"Trigger Auto Controls", SelectorTriggerAuto, 1, DataType::Unsigned, Kind::Integer, 0, 7, 1, 0,
     InfoGet | InfoSet | InfoAutoUpdate, kV4l2IdBase + SelectorTriggerAuto},
    // Freezes automatic adjustment (AutoFunction bits); a locked function
    // cannot be triggered.
    {"Lock Auto Controls", SelectorLockAuto, 1, DataType::Unsigned, Kind::Integer, 0, 7, 1, 0,
     InfoGet | InfoSet, kV4l2IdBase + SelectorLockAuto},
    // Off, the camera heats up until it reports over-temperature.
    {"Cooling Fan", SelectorCoolingFan, 1, DataType::Boolean, Kind::Boolean, 0, 1, 1, 1, InfoGet | InfoSet,
     kV4l2IdBase + SelectorCoolingFan},
};

constexpr int kControlCount = static_cast<int>(sizeof kControls / sizeof kControls[0]);

} // namespace KelvaneExtensionUnit

} // namespace ImageAcquisition
