// The controls as the layer shows them on the real uvcvideo: the camera
// terminal's and processing unit's, and the maker's extension unit that the
// layer maps at open; writes the device receives, reads it answers, and
// the extension unit's behaviour as the firmware defines it.

#include "emulateddevice.h"
#include "guest.h"

#include "controltable.h"

#include <imageacquisition/kelvane.h>

#include <climits>
#include <vector>

namespace Guest {

namespace {

namespace Xu = ImageAcquisition::KelvaneExtensionUnit;
using UsbCamera::ControlTable;
using UsbCamera::Register;

struct Expected
{
    std::string name; // as V4L2 shows it
    int type;
    long long minimum, maximum, step, value;
    bool readOnly;
    ICameraControl::Family family;
};

Expected standard(const char* v4l2Name, int type, Register reg, ICameraControl::Family family)
{
    const UsbCamera::UvcControl& c = ControlTable::of(reg);
    return {v4l2Name, type, c.minimum, c.maximum, c.resolution, c.defaultValue, false, family};
}

// What the device declares, under the names uvcvideo gives the standard controls.
std::vector<Expected> expectedControls()
{
    using F = ICameraControl::Family;
    std::vector<Expected> all = {
        standard("Brightness", ICameraControl::TypeInteger, Register::Brightness, F::FamilyUser),
        standard("Contrast", ICameraControl::TypeInteger, Register::Contrast, F::FamilyUser),
        standard("Gain", ICameraControl::TypeInteger, Register::Gain, F::FamilyUser),
        standard("White Balance Temperature", ICameraControl::TypeInteger, Register::WhiteBalanceTemperature,
                 F::FamilyUser),
        standard("White Balance, Automatic", ICameraControl::TypeBoolean, Register::WhiteBalanceAuto, F::FamilyUser),
        standard("Exposure Time, Absolute", ICameraControl::TypeInteger, Register::ExposureTime, F::FamilyCamera),
        // The modes the device offers (GET_RES), manual first.
        {"Auto Exposure", ICameraControl::TypeMenu, 0, 1, 1, 0, false, F::FamilyCamera},
    };
    for (const Xu::Control& c : Xu::kControls) {
        all.push_back({c.name, c.kind == Xu::Kind::Boolean ? ICameraControl::TypeBoolean : ICameraControl::TypeInteger,
                       c.minimum, c.maximum, c.step, c.defaultValue, !(c.info & Xu::InfoSet), F::FamilyKelvane});
    }
    return all;
}

template <typename Control>
Control* control(ICamera& camera, const std::string& name)
{
    Control* found = findControl<Control>(camera, name);
    CHECK_MSG(found, "no control '" + name + "' of the expected kind");
    return found;
}

void checkNumeric(ICameraControl& c, const Expected& e)
{
    if (e.type == ICameraControl::TypeBoolean) {
        if (auto* b = dynamic_cast<ICameraControlBoolean*>(&c); CHECK_MSG(b, e.name))
            CHECK_EQ(b->getValue(), e.value != 0);
        return;
    }
    if (e.type == ICameraControl::TypeMenu) {
        auto* menu = dynamic_cast<ICameraControlStringMenu*>(&c);
        if (CHECK_MSG(menu && menu->getEntryCount() == 2, e.name)) {
            CHECK_EQ(menu->getEntry(0), "Manual Mode");
            CHECK_EQ(menu->getEntry(1), "Aperture Priority Mode");
            CHECK_EQ(menu->getIndex(), 0);
        }
        return;
    }
    auto* n = dynamic_cast<ICameraControlNumeric<int>*>(&c);
    if (!CHECK_MSG(n, e.name))
        return;
    CHECK_EQ(n->getMinimum(), e.minimum);
    CHECK_EQ(n->getMaximum(), e.maximum);
    CHECK_EQ(n->getStep(), e.step);
    // The sensor's temperature is whatever it is; the others are at their defaults.
    if (e.name != "Temperature (C)")
        CHECK_EQ(n->getValue(), e.value);
}

} // namespace

// Every control with its name, kind, range, flags, family and default, and
// no others; run on a freshly plugged-in camera.
GROUP(controls)
{
    auto camera = openFirstCamera();
    if (!CHECK(camera))
        return;
    const std::vector<Expected> expected = expectedControls();
    CHECK_EQ(camera->getControlCount(), expected.size());
    for (const Expected& e : expected) {
        ICameraControl* c = findControl<ICameraControl>(*camera, e.name);
        if (!CHECK_MSG(c, "no control '" + e.name + "'"))
            continue;
        CHECK_MSG(c->getType() == e.type, e.name);
        CHECK_MSG(c->getFamily() == e.family, e.name);
        CHECK_MSG(c->isReadOnly() == e.readOnly, e.name);
        CHECK_MSG(!c->isDisabled() && !c->isGrabbed() && !c->isInactive(), e.name);
        checkNumeric(*c, e);
    }
}

// Writes arrive at the device as written, reads of what the camera changes
// by itself come from the device, and a write it refuses is reported.
GROUP(roundtrips)
{
    EmulatedDevice device;
    auto camera = openFirstCamera();
    if (!CHECK(camera))
        return;
    using Int = ICameraControlNumeric<int>;
    auto* brightness = control<Int>(*camera, "Brightness");
    auto* exposureMode = control<ICameraControlStringMenu>(*camera, "Auto Exposure");
    auto* exposure = control<Int>(*camera, "Exposure Time, Absolute");
    auto* lock = control<Int>(*camera, "Lock Auto Controls");
    auto* trigger = control<Int>(*camera, "Trigger Auto Controls");
    auto* fan = control<ICameraControlBoolean>(*camera, "Cooling Fan");
    if (!brightness || !exposureMode || !exposure || !lock || !trigger || !fan)
        return;

    std::size_t mark = device.mark();
    brightness->setValue(-25);
    CHECK(device.logged("SET_CUR Brightness = -25", mark));
    brightness->refresh();
    CHECK_EQ(brightness->getValue(), -25);

    mark = device.mark();
    fan->setValue(false);
    CHECK(device.logged("SET_CUR Cooling Fan = 0", mark));
    fan->refresh();
    CHECK(!fan->getValue());
    fan->setValue(true);

    // The automatic mode makes the exposure the camera's.
    mark = device.mark();
    exposureMode->setIndex(1);
    CHECK(device.logged("SET_CUR Auto Exposure Mode = 8", mark));
    exposure->refresh();
    CHECK(exposure->isInactive());
    // uvcvideo itself refuses a write to an inactive control.
    CHECK(refusal([&] { exposure->setValue(50); }) != "");
    exposureMode->setIndex(0);
    exposure->refresh();
    CHECK(!exposure->isInactive());

    // A locked function cannot be triggered: the firmware refuses.
    mark = device.mark();
    lock->setValue(Xu::AutoExposure);
    CHECK(device.logged("SET_CUR Lock Auto Controls = 1", mark));
    const std::string why = refusal([&] { trigger->setValue(Xu::AutoExposure | Xu::AutoFocus); });
    CHECK_MSG(why.find("Trigger Auto Controls") != std::string::npos, why);
    CHECK(device.logged("SET_CUR Trigger Auto Controls = 3 refused: wrong state", mark));
    lock->setValue(0);
    trigger->refresh();
    CHECK_EQ(trigger->getValue(), 0);
}

// The extension unit behaves as on the virtual camera: a one-shot without
// frames times out into an error bit, which stays until written; -1
// reaches the device whole and clears all; the temperature is the device's.
GROUP(extension)
{
    EmulatedDevice device;
    auto camera = openFirstCamera();
    if (!CHECK(camera))
        return;
    using Int = ICameraControlNumeric<int>;
    auto* temperature = control<Int>(*camera, "Temperature (C)");
    auto* errors = control<Int>(*camera, "Error Status");
    auto* trigger = control<Int>(*camera, "Trigger Auto Controls");
    if (!temperature || !errors || !trigger)
        return;

    std::size_t mark = device.mark();
    temperature->refresh();
    const int celsius = temperature->getValue();
    CHECK_MSG(celsius > 2500 && celsius < 4500, std::to_string(celsius));
    CHECK(device.logged("GET_CUR Temperature (C) -> " + std::to_string(celsius), mark));
    CHECK(refusal([&] { temperature->setValue(100); }) != "");

    errors->refresh();
    CHECK_EQ(errors->getValue(), 0);
    mark = device.mark();
    trigger->setValue(Xu::AutoWhiteBalance);
    CHECK(device.logged("SET_CUR Trigger Auto Controls = 4", mark));
    trigger->refresh();
    CHECK_EQ(trigger->getValue(), Xu::AutoWhiteBalance);
    // Not streaming: no frames to measure, so it gives up after a second.
    sleepMs(1300);
    trigger->refresh();
    CHECK_EQ(trigger->getValue(), 0);
    errors->refresh();
    CHECK_EQ(errors->getValue(), Xu::ErrorTriggerTimeout);

    mark = device.mark();
    errors->setValue(Xu::ErrorOverTemperature);
    errors->refresh();
    CHECK_EQ(errors->getValue(), Xu::ErrorTriggerTimeout);
    errors->setValue(-1);
    CHECK(device.logged("SET_CUR Error Status = -1", mark));
    errors->refresh();
    CHECK_EQ(errors->getValue(), 0);
}

} // namespace Guest
