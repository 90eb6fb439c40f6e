#include "controldefinition.h"

#include <climits>

namespace ImageAcquisition {

namespace {

using F = ICameraControl::Family;
using T = ICameraControl::Type;

std::vector<ControlDefinition> makeCatalog()
{
    // Kept in ControlId order; controlDefinition() indexes it by id.
    return {
        {ControlId::Brightness, T::TypeInteger, F::FamilyUser, "Brightness",
         "Offset added to every pixel", -100, 100, 1, 0, {}, {}, {}},
        {ControlId::Contrast, T::TypeInteger, F::FamilyUser, "Contrast",
         "Contrast around mid grey, in percent", 0, 200, 1, 100, {}, {}, {}},
        {ControlId::Gain, T::TypeInteger, F::FamilyUser, "Gain",
         "Sensor gain: 0 is unity, 100 is five times", 0, 100, 1, 0, {}, {}, {}},
        {ControlId::WhiteBalance, T::TypeInteger, F::FamilyUser, "White Balance Temperature",
         "Colour temperature the picture is balanced for, in kelvin", 2800, 6500, 10, 5000, {}, {}, {}},
        {ControlId::ExposureAuto, T::TypeBoolean, F::FamilyCamera, "Exposure, Auto",
         "Let the camera choose the exposure time", 0, 1, 1, 0, {}, {}, {}},
        {ControlId::ExposureTime, T::TypeInteger64, F::FamilyCamera, "Exposure Time (us)",
         "Exposure time in microseconds; inactive while Exposure, Auto is on", 10, 200000, 10, 10000,
         {}, {}, {}},
        {ControlId::Focus, T::TypeInteger, F::FamilyCamera, "Focus, Absolute",
         "Lens position; the target is sharp at 512", 0, 1023, 1, 512, {}, {}, {}},
        {ControlId::TestPattern, T::TypeMenu, F::FamilyImageSource, "Test Pattern",
         "Picture the sensor looks at", 0, 2, 1, 0, {"Colour Bars", "Grey Ramp", "Checkerboard"}, {}, {}},
        {ControlId::LinkFrequency, T::TypeIntegerMenu, F::FamilyImageSource, "Link Frequency (Hz)",
         "Sensor link clock; fixed while streaming", 0, 3, 1, 1, {},
         {445500000LL, 891000000LL, 1782000000LL, 3564000000LL}, {}},
        {ControlId::OverlayText, T::TypeString, F::FamilyImageProcessing, "Overlay Text",
         "Text shown in the picture (printable ASCII)", 0, 32, 1, 0, {}, {}, "Tarvello virtual camera"},
        {ControlId::CoolingFan, T::TypeBoolean, F::FamilyKelvane, "Cooling Fan",
         "Without the fan the camera heats up until it reports over-temperature", 0, 1, 1, 1, {}, {}, {}},
        {ControlId::RestartSequence, T::TypeButton, F::FamilyKelvane, "Restart Sequence",
         "Frame numbers and the moving marker start again", 0, 0, 0, 0, {}, {}, {}},
        {ControlId::OverlayElements, T::TypeBitmask, F::FamilyImageProcessing, "Overlay Elements",
         "Overlay Elements: 0x0000000f = frame counter, clock, marker and info line (fixed)", 0, 15, 1, 15,
         {}, {}, {}},
        {ControlId::Temperature, T::TypeInteger, F::FamilyKelvane, "Temperature (C)",
         "Sensor board temperature in hundredths of a degree Celsius", -4000, 12500, 1, 0, {}, {}, {}},
        {ControlId::ErrorStatus, T::TypeInteger, F::FamilyKelvane, "Error Status",
         "Error bits; writing a bit clears it, -1 clears all", INT_MIN, INT_MAX, 1, 0, {}, {}, {}},
        {ControlId::TriggerAuto, T::TypeInteger, F::FamilyKelvane, "Trigger Auto Controls",
         "Runs a one-shot adjustment: 0x1 exposure, 0x2 focus, 0x4 white balance", 0, 7, 1, 0, {}, {}, {}},
        {ControlId::LockAuto, T::TypeInteger, F::FamilyKelvane, "Lock Auto Controls",
         "Freezes automatic adjustment: 0x1 exposure, 0x2 focus, 0x4 white balance", 0, 7, 1, 0, {}, {},
         {}},
    };
}

} // namespace

const ControlDefinition& controlDefinition(ControlId id)
{
    static const std::vector<ControlDefinition> catalog = makeCatalog();
    return catalog[static_cast<size_t>(id)];
}

} // namespace ImageAcquisition
