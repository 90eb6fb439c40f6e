#include "controltable.h"

#include "topology.h"

namespace UsbCamera {

namespace {

namespace Xu = ImageAcquisition::KelvaneExtensionUnit;
using namespace Topology;

// UVC 1.1 selectors.
enum : std::uint8_t
{
    CtAutoExposureMode = 0x02,
    CtExposureTimeAbsolute = 0x04,
    PuBrightness = 0x02,
    PuContrast = 0x03,
    PuGain = 0x04,
    PuWhiteBalanceTemperature = 0x0a,
    PuWhiteBalanceTemperatureAuto = 0x0b,
};

constexpr std::uint8_t kGetSet = Xu::InfoGet | Xu::InfoSet;

Register registerOf(Xu::Selector selector)
{
    switch (selector) {
    case Xu::SelectorTemperature:
        return Register::Temperature;
    case Xu::SelectorErrorStatus:
        return Register::ErrorStatus;
    case Xu::SelectorTriggerAuto:
        return Register::TriggerAuto;
    case Xu::SelectorLockAuto:
        return Register::LockAuto;
    case Xu::SelectorCoolingFan:
        break;
    }
    return Register::CoolingFan;
}

std::vector<UvcControl> makeTable()
{
    // Ranges as on the virtual camera where it has the control. Exposure
    // time is in UVC's unit of 100 us; the auto-exposure modes are manual
    // (1) and aperture priority (8), the pair most cameras offer. Values the
    // camera changes by itself are declared auto-update, or uvcvideo would
    // answer from its cache.
    std::vector<UvcControl> table = {
        {"Auto Exposure Mode", kCameraTerminal, CtAutoExposureMode, 1, false, true, 0, 0, 0x09, 0x01, kGetSet,
         Register::AutoExposureMode},
        {"Exposure Time", kCameraTerminal, CtExposureTimeAbsolute, 4, false, false, 1, 2000, 1, 100,
         kGetSet | Xu::InfoAutoUpdate, Register::ExposureTime},
        {"Brightness", kProcessingUnit, PuBrightness, 2, true, false, -100, 100, 1, 0, kGetSet, Register::Brightness},
        {"Contrast", kProcessingUnit, PuContrast, 2, false, false, 0, 200, 1, 100, kGetSet, Register::Contrast},
        {"Gain", kProcessingUnit, PuGain, 2, false, false, 0, 100, 1, 0, kGetSet, Register::Gain},
        {"White Balance Temperature", kProcessingUnit, PuWhiteBalanceTemperature, 2, false, false, 2800, 6500, 10,
         5000, kGetSet | Xu::InfoAutoUpdate, Register::WhiteBalanceTemperature},
        {"White Balance Auto", kProcessingUnit, PuWhiteBalanceTemperatureAuto, 1, false, false, 0, 1, 1, 0, kGetSet,
         Register::WhiteBalanceAuto},
    };
    for (const Xu::Control& c : Xu::kControls) {
        table.push_back({c.name, kExtensionUnit, c.selector, c.size, c.dataType == Xu::DataType::Signed, false,
                         c.minimum, c.maximum, c.step, c.defaultValue, c.info, registerOf(c.selector)});
    }
    return table;
}

} // namespace

const std::vector<UvcControl>& ControlTable::all()
{
    static const std::vector<UvcControl> table = makeTable();
    return table;
}

const UvcControl* ControlTable::find(std::uint8_t unit, std::uint8_t selector)
{
    for (const UvcControl& control : all()) {
        if (control.unit == unit && control.selector == selector)
            return &control;
    }
    return nullptr;
}

const UvcControl& ControlTable::of(Register reg)
{
    for (const UvcControl& control : all()) {
        if (control.reg == reg)
            return control;
    }
    return all().front(); // every register has a control
}

} // namespace UsbCamera
