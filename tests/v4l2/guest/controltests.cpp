// Every control kind against the driver's own answers, writes, refusals, soft reset.

#include "guest.h"
#include "rawdevice.h"

#include <cstring>
#include <set>

namespace Guest {

namespace {

int expectedType(const v4l2_query_ext_ctrl& query)
{
    using C = ICameraControl;
    // Indexed by the V4L2 type, from V4L2_CTRL_TYPE_INTEGER to _INTEGER_MENU.
    static const int codes[] = {
        0, C::TypeInteger, C::TypeBoolean, C::TypeMenu,       C::TypeButton, C::TypeInteger64,
        0, C::TypeString,  C::TypeBitmask, C::TypeIntegerMenu};
    if (query.nr_of_dims > 0 || query.type >= V4L2_CTRL_COMPOUND_TYPES)
        return C::TypeCompound;
    return query.type < std::size(codes) ? codes[query.type] : 0;
}

std::string text(ICameraControlString& control, int size = 64)
{
    std::string buffer(static_cast<std::size_t>(size), 'x');
    control.getValue(&buffer[0], size);
    return buffer.c_str();
}

void checkAgainstDriver(ICamera& camera, const RawDevice& raw)
{
    const auto controls = raw.controls();
    if (!CHECK_EQ(camera.getControlCount(), controls.size()))
        return;
    CHECK(!camera.getControl(-1) && !camera.getControl(camera.getControlCount()));
    std::set<int> types;
    for (std::size_t i = 0; i < controls.size(); ++i) {
        ICameraControl* control = camera.getControl(static_cast<int>(i));
        const v4l2_query_ext_ctrl& query = controls[i];
        const std::string what = query.name;
        const long long value = raw.value(query);
        CHECK_EQ(control->getName(), what);
        CHECK_MSG(control->getType() == expectedType(query), what);
        types.insert(control->getType());
        const bool shown[] = {control->isReadOnly(), control->isDisabled(), control->isGrabbed(), control->isInactive()};
        const __u32 flags[] = {V4L2_CTRL_FLAG_READ_ONLY, V4L2_CTRL_FLAG_DISABLED, V4L2_CTRL_FLAG_GRABBED,
                               V4L2_CTRL_FLAG_INACTIVE};
        for (int f = 0; f < 4; ++f)
            CHECK_MSG(shown[f] == ((query.flags & flags[f]) != 0), what + " flag " + std::to_string(f));
        const auto sameNumbers = [&](auto* numeric) {
            using T = decltype(numeric->getValue());
            return !numeric
                   || (numeric->getMinimum() == query.minimum && numeric->getMaximum() == query.maximum
                       && numeric->getStep() == static_cast<T>(query.step)
                       && ((query.flags & V4L2_CTRL_FLAG_VOLATILE) || numeric->getValue() == value));
        };
        CHECK_MSG(sameNumbers(dynamic_cast<ICameraControlNumeric<int>*>(control))
                      && sameNumbers(dynamic_cast<ICameraControlNumeric<long long>*>(control)),
                  what);
        if (auto* boolean = dynamic_cast<ICameraControlBoolean*>(control))
            CHECK_MSG(boolean->getValue() == (value != 0), what);
        if (auto* string = dynamic_cast<ICameraControlString*>(control))
            CHECK_MSG(string->getMinLength() == query.minimum && string->getMaxLength() == query.maximum
                          && text(*string) == raw.text(query),
                      what);
        auto* menu = dynamic_cast<ICameraControlBaseMenu*>(control);
        const auto items = menu ? raw.menu(query) : std::vector<v4l2_querymenu>();
        if (menu && !CHECK_MSG(menu->getEntryCount() == static_cast<int>(items.size()), what))
            continue;
        auto* names = dynamic_cast<ICameraControlStringMenu*>(control);
        auto* numbers = dynamic_cast<ICameraControlInt64Menu*>(control);
        for (int e = 0; e < static_cast<int>(items.size()); ++e) {
            const char* name = reinterpret_cast<const char*>(items[e].name);
            CHECK_MSG(names ? std::strcmp(names->getEntry(e), name) == 0
                            : numbers->getEntry(e) == items[e].value,
                      what);
            CHECK_MSG(items[e].index != value || menu->getIndex() == e, what);
        }
    }
    for (int type : {2, 3, 4, 5, 6, 7, 10, 11, 12})
        CHECK_MSG(types.count(type), "no control of type " + std::to_string(type));
}

} // namespace

GROUP(controls)
{
    auto camera = openFirstCamera();
    if (!CHECK(camera))
        return;
    RawDevice raw;
    checkAgainstDriver(*camera, raw);

    // Written, read back through the driver, and through refresh only.
    auto* brightness = findControl<ICameraControlNumeric<int>>(*camera, "Brightness");
    auto* wide = findControl<ICameraControlNumeric<long long>>(*camera, "Integer 64 Bits");
    auto* boolean = findControl<ICameraControlBoolean>(*camera, "Boolean");
    auto* button = findControl<ICameraControlButton>(*camera, "Button");
    auto* string = findControl<ICameraControlString>(*camera, "String");
    if (!CHECK(brightness && wide && boolean && button && string))
        return;
    brightness->setValue(200);
    CHECK_EQ(raw.value(raw.control("Brightness")), 200);
    v4l2_control behindItsBack{V4L2_CID_BRIGHTNESS, 17};
    CHECK_EQ(raw.ioctl(VIDIOC_S_CTRL, &behindItsBack), 0);
    CHECK_EQ(brightness->getValue(), 200);
    brightness->refresh();
    CHECK_EQ(brightness->getValue(), 17);
    wide->setValue(0x123456789LL);
    CHECK_EQ(raw.value(raw.control("Integer 64 Bits")), 0x123456789LL);
    const bool before = boolean->getValue();
    boolean->setValue(!before);
    CHECK_EQ(raw.value(raw.control("Boolean")) != 0, !before);
    CHECK_EQ(refusal([&] { button->press(); }), "");
    string->setValue("abcd");
    CHECK_EQ(raw.text(raw.control("String")), "abcd");
    CHECK(string->getLength() == 4 && text(*string, 3) == "ab");
    const std::string tooLong(static_cast<std::size_t>(string->getMaxLength()) + 1, 'z');
    CHECK(refusal([&] { string->setValue(tooLong.c_str()); }) != "" && refusal([&] { string->setValue(nullptr); }) != "");

    // Each menu entry writes its own valid item, gaps or not.
    const v4l2_query_ext_ctrl gapped = raw.control("Menu");
    CHECK_MSG(static_cast<long long>(raw.menu(gapped).size()) <= gapped.maximum - gapped.minimum,
              "vivid's menu is expected to have a gap");
    for (const char* name : {"Menu", "Integer Menu"}) {
        auto* menu = findControl<ICameraControlBaseMenu>(*camera, name);
        const auto items = raw.menu(raw.control(name));
        if (!CHECK_MSG(menu && menu->getEntryCount() == static_cast<int>(items.size()), name))
            continue;
        for (int e = 0; e < menu->getEntryCount(); ++e)
            CHECK_MSG(refusal([&] { menu->setIndex(e); }) == "" && menu->getIndex() == e
                          && raw.value(raw.control(name)) == items[e].index,
                      name);
        CHECK(refusal([&] { menu->setIndex(menu->getEntryCount()); }) != "");
    }

    // A read-only control refuses writes with the driver's reason, in words.
    auto* readOnly = findControl<ICameraControlNumeric<int>>(*camera, "Read-Only Integer 32 Bits");
    const std::string message = readOnly ? refusal([&] { readOnly->setValue(1); }) : "missing";
    CHECK_MSG(message.find("cannot be written now (read-only") != std::string::npos, message);

    // Gain is inactive while automatic gain is on, and the flag follows.
    auto* autoGain = findControl<ICameraControlBoolean>(*camera, "Gain, Automatic");
    auto* gain = findControl<ICameraControl>(*camera, "Gain");
    if (CHECK(autoGain && gain && autoGain->getFamily() == gain->getFamily())) {
        for (bool automatic : {true, false}) {
            autoGain->setValue(automatic);
            gain->refresh();
            CHECK_EQ(gain->isInactive(), automatic);
        }
    }

    // Soft reset: writable controls back to their defaults, texts to blanks.
    camera->reset();
    const __u32 skipped = V4L2_CTRL_FLAG_READ_ONLY | V4L2_CTRL_FLAG_WRITE_ONLY | V4L2_CTRL_FLAG_VOLATILE
                          | V4L2_CTRL_FLAG_DISABLED | V4L2_CTRL_FLAG_INACTIVE;
    for (const auto& query : raw.controls()) {
        const int type = expectedType(query);
        if ((query.flags & skipped) || type == ICameraControl::TypeButton || type == ICameraControl::TypeCompound)
            continue;
        if (type == ICameraControl::TypeString)
            CHECK_EQ(raw.text(query), std::string(static_cast<std::size_t>(query.minimum), ' '));
        else
            CHECK_MSG(raw.value(query) == query.default_value, query.name);
    }
    CHECK_EQ(brightness->getValue(), raw.control("Brightness").default_value);
}

} // namespace Guest
