// Every control kind against the driver's own answers: types, ranges,
// values, menus with gaps, refused writes, the inactive flag, soft reset.

#include "check.h"
#include "rawdevice.h"
#include "sections.h"

#include <assertfailureexception.h>

#include <cerrno>
#include <cstring>
#include <map>

using namespace ImageAcquisition;

namespace Guest {

namespace {

int expectedType(const v4l2_query_ext_ctrl& query)
{
    if (query.nr_of_dims > 0)
        return 12;
    switch (query.type) {
    case V4L2_CTRL_TYPE_INTEGER: return 4;
    case V4L2_CTRL_TYPE_BOOLEAN: return 2;
    case V4L2_CTRL_TYPE_MENU: return 11;
    case V4L2_CTRL_TYPE_BUTTON: return 3;
    case V4L2_CTRL_TYPE_INTEGER64: return 5;
    case V4L2_CTRL_TYPE_STRING: return 10;
    case V4L2_CTRL_TYPE_BITMASK: return 7;
    case V4L2_CTRL_TYPE_INTEGER_MENU: return 6;
    default: return query.type >= V4L2_CTRL_COMPOUND_TYPES ? 12 : 0;
    }
}

std::string name(const v4l2_query_ext_ctrl& query)
{
    return std::string(query.name, ::strnlen(query.name, sizeof query.name));
}

v4l2_query_ext_ctrl byName(const RawDevice& raw, const std::string& wanted)
{
    for (const auto& query : raw.controls()) {
        if (name(query) == wanted)
            return query;
    }
    return v4l2_query_ext_ctrl{};
}

// Runs a write that must be refused; true when it threw the layer's exception.
template <typename Write>
bool refused(Write write, std::string* message = nullptr)
{
    try {
        write();
    } catch (const AssertFailureException& exception) {
        if (message)
            *message = exception.what();
        return true;
    }
    return false;
}

std::string stringValue(ICameraControlString& control)
{
    std::vector<char> buffer(static_cast<std::size_t>(control.getLength()) + 1);
    control.getValue(buffer.data(), static_cast<int>(buffer.size()));
    return buffer.data();
}

void checkAgainstDriver(ICamera& camera, const RawDevice& raw)
{
    const auto controls = raw.controls();
    CHECK_EQ(camera.getControlCount(), static_cast<int>(controls.size()));
    CHECK(!camera.getControl(-1));
    CHECK(!camera.getControl(camera.getControlCount()));
    std::map<int, int> typesSeen;
    for (int i = 0; i < camera.getControlCount() && i < static_cast<int>(controls.size()); ++i) {
        ICameraControl* control = camera.getControl(i);
        const v4l2_query_ext_ctrl& query = controls[static_cast<std::size_t>(i)];
        const std::string what = name(query);
        CHECK_EQ(std::string(control->getName()), what);
        CHECK_MSG(control->getType() == expectedType(query), what);
        CHECK(control->getDescription() && *control->getDescription());
        CHECK_MSG(control->isReadOnly() == ((query.flags & V4L2_CTRL_FLAG_READ_ONLY) != 0), what);
        CHECK_MSG(control->isDisabled() == ((query.flags & V4L2_CTRL_FLAG_DISABLED) != 0), what);
        CHECK_MSG(control->isGrabbed() == ((query.flags & V4L2_CTRL_FLAG_GRABBED) != 0), what);
        CHECK_MSG(control->isInactive() == ((query.flags & V4L2_CTRL_FLAG_INACTIVE) != 0), what);
        ++typesSeen[control->getType()];
        if (auto* numeric = dynamic_cast<ICameraControlNumeric<int>*>(control)) {
            CHECK_EQ(static_cast<long long>(numeric->getMinimum()), query.minimum);
            CHECK_EQ(static_cast<long long>(numeric->getMaximum()), query.maximum);
            CHECK_EQ(static_cast<unsigned long long>(numeric->getStep()), query.step);
            if (!(query.flags & V4L2_CTRL_FLAG_VOLATILE))
                CHECK_MSG(numeric->getValue() == raw.value(query.id), what);
        }
        if (auto* numeric = dynamic_cast<ICameraControlNumeric<long long>*>(control)) {
            CHECK_EQ(numeric->getMinimum(), query.minimum);
            CHECK_EQ(numeric->getMaximum(), query.maximum);
            CHECK_EQ(numeric->getValue(), raw.value(query.id));
        }
        if (auto* boolean = dynamic_cast<ICameraControlBoolean*>(control))
            CHECK_EQ(boolean->getValue(), raw.value(query.id) != 0);
        if (auto* text = dynamic_cast<ICameraControlString*>(control)) {
            CHECK_EQ(text->getMinLength(), static_cast<int>(query.minimum));
            CHECK_EQ(text->getMaxLength(), static_cast<int>(query.maximum));
            CHECK_EQ(stringValue(*text), raw.text(query.id));
        }
        if (auto* menu = dynamic_cast<ICameraControlBaseMenu*>(control)) {
            // Entries without gaps, each standing for one valid item.
            const auto items = raw.menu(query);
            CHECK_MSG(menu->getEntryCount() == static_cast<int>(items.size()), what);
            const long long value = raw.value(query.id);
            for (int e = 0; e < menu->getEntryCount() && e < static_cast<int>(items.size()); ++e) {
                const v4l2_querymenu& item = items[static_cast<std::size_t>(e)];
                if (auto* texts = dynamic_cast<ICameraControlStringMenu*>(menu))
                    CHECK_EQ(std::string(texts->getEntry(e)),
                             std::string(reinterpret_cast<const char*>(item.name)));
                if (auto* numbers = dynamic_cast<ICameraControlInt64Menu*>(menu))
                    CHECK_EQ(numbers->getEntry(e), static_cast<long long>(item.value));
                if (item.index == value)
                    CHECK_EQ(menu->getIndex(), e);
            }
        }
    }
    for (int type : {2, 3, 4, 5, 6, 7, 10, 11, 12})
        CHECK_MSG(typesSeen[type] > 0, "no control of type " + std::to_string(type));
}

} // namespace

void testControls()
{
    auto camera = openFirstCamera();
    CHECK(camera);
    if (!camera)
        return;
    RawDevice raw;
    checkAgainstDriver(*camera, raw);

    // Integer: written, read back through the driver and through refresh.
    auto* brightness =
        dynamic_cast<ICameraControlNumeric<int>*>(findControl(*camera, "Brightness"));
    CHECK(brightness);
    if (brightness) {
        brightness->setValue(200);
        CHECK_EQ(raw.value(V4L2_CID_BRIGHTNESS), 200LL);
        CHECK_EQ(brightness->getValue(), 200);
        CHECK_EQ(raw.setValue(V4L2_CID_BRIGHTNESS, 17), 0);
        CHECK_EQ(brightness->getValue(), 200); // the layer's state until refresh
        brightness->refresh();
        CHECK_EQ(brightness->getValue(), 17);
        // The driver clamps: the control then holds the clamped value.
        brightness->setValue(brightness->getMaximum() + 1000);
        CHECK_EQ(brightness->getValue(), brightness->getMaximum());
    }

    auto* wide =
        dynamic_cast<ICameraControlNumeric<long long>*>(findControl(*camera, "Integer 64 Bits"));
    CHECK(wide);
    if (wide) {
        wide->setValue(0x123456789LL);
        CHECK_EQ(wide->getValue(), 0x123456789LL);
    }

    auto* boolean = dynamic_cast<ICameraControlBoolean*>(findControl(*camera, "Boolean"));
    CHECK(boolean);
    if (boolean) {
        const bool before = boolean->getValue();
        boolean->setValue(!before);
        CHECK_EQ(boolean->getValue(), !before);
        CHECK_EQ(raw.value(byName(raw, "Boolean").id) != 0, !before);
    }

    auto* button = dynamic_cast<ICameraControlButton*>(findControl(*camera, "Button"));
    CHECK(button);
    if (button)
        CHECK(!refused([&] { button->press(); }));

    auto* text = dynamic_cast<ICameraControlString*>(findControl(*camera, "String"));
    CHECK(text);
    if (text) {
        text->setValue("abcd");
        CHECK_EQ(stringValue(*text), std::string("abcd"));
        CHECK_EQ(text->getLength(), 4);
        char small[3] = {'x', 'x', 'x'};
        text->getValue(small, 3);
        CHECK_EQ(std::string(small), std::string("ab"));
        const std::string tooLong(static_cast<std::size_t>(text->getMaxLength()) + 5, 'z');
        CHECK(refused([&] { text->setValue(tooLong.c_str()); }));
        CHECK(refused([&] { text->setValue(nullptr); }));
    }

    // The menu with a gap: entries map to the valid items only.
    auto* menu = dynamic_cast<ICameraControlStringMenu*>(findControl(*camera, "Menu"));
    CHECK(menu);
    if (menu) {
        const v4l2_query_ext_ctrl query = byName(raw, "Menu");
        const auto items = raw.menu(query);
        CHECK_MSG(static_cast<long long>(items.size()) < query.maximum - query.minimum + 1,
                  "vivid's menu is expected to have a gap");
        for (int e = 0; e < menu->getEntryCount(); ++e) {
            menu->setIndex(e);
            CHECK_EQ(raw.value(query.id),
                     static_cast<long long>(items[static_cast<std::size_t>(e)].index));
            CHECK_EQ(menu->getIndex(), e);
        }
        CHECK(refused([&] { menu->setIndex(menu->getEntryCount()); }));
        CHECK(refused([&] { menu->setIndex(-1); }));
    }

    auto* numbers = dynamic_cast<ICameraControlInt64Menu*>(findControl(*camera, "Integer Menu"));
    CHECK(numbers);
    if (numbers && numbers->getEntryCount() > 1) {
        numbers->setIndex(1);
        CHECK_EQ(numbers->getIndex(), 1);
    }

    // A read-only control refuses writes with the driver's reason.
    auto* readOnly = dynamic_cast<ICameraControlNumeric<int>*>(
        findControl(*camera, "Read-Only Integer 32 Bits"));
    CHECK(readOnly);
    if (readOnly) {
        CHECK(readOnly->isReadOnly());
        std::string message;
        CHECK(refused([&] { readOnly->setValue(1); }, &message));
        CHECK_MSG(message.find(std::strerror(EACCES)) != std::string::npos, message);
    }

    // Gain is inactive while automatic gain is on, and the flag follows.
    auto* autoGain = dynamic_cast<ICameraControlBoolean*>(findControl(*camera, "Gain, Automatic"));
    auto* gain = findControl(*camera, "Gain");
    CHECK(autoGain && gain);
    if (autoGain && gain) {
        CHECK(autoGain->getFamily() == gain->getFamily());
        autoGain->setValue(true);
        gain->refresh();
        CHECK(gain->isInactive());
        autoGain->setValue(false);
        gain->refresh();
        CHECK(!gain->isInactive());
        autoGain->setValue(true);
        gain->refresh();
        CHECK(gain->isInactive());
    }

    // Soft reset: every writable control back to the driver's default.
    camera->reset();
    for (const auto& query : raw.controls()) {
        if ((query.flags
             & (V4L2_CTRL_FLAG_READ_ONLY | V4L2_CTRL_FLAG_WRITE_ONLY | V4L2_CTRL_FLAG_VOLATILE
                | V4L2_CTRL_FLAG_DISABLED | V4L2_CTRL_FLAG_INACTIVE))
            || query.nr_of_dims > 0)
            continue;
        switch (query.type) {
        case V4L2_CTRL_TYPE_INTEGER:
        case V4L2_CTRL_TYPE_BOOLEAN:
        case V4L2_CTRL_TYPE_MENU:
        case V4L2_CTRL_TYPE_INTEGER_MENU:
        case V4L2_CTRL_TYPE_INTEGER64:
            CHECK_MSG(raw.value(query.id) == query.default_value, name(query));
            break;
        case V4L2_CTRL_TYPE_BITMASK:
            CHECK_MSG(static_cast<__u32>(raw.value(query.id))
                          == static_cast<__u32>(query.default_value),
                      name(query));
            break;
        case V4L2_CTRL_TYPE_STRING:
            CHECK_MSG(raw.text(query.id)
                          == std::string(static_cast<std::size_t>(query.minimum), ' '),
                      name(query));
            break;
        default: break;
        }
    }
    if (brightness)
        CHECK_EQ(static_cast<long long>(brightness->getValue()),
                 raw.control(V4L2_CID_BRIGHTNESS).default_value);
}

} // namespace Guest
