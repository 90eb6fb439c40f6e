#include "v4l2menucontrol.h"

#include "v4l2handle.h"

#include <assertfailureexception.h>

#include <cerrno>
#include <cstring>

namespace ImageAcquisition {

namespace {

// Menus are short; a larger range is a driver's mistake, not a menu.
constexpr long long kMaxMenuRange = 1024;

} // namespace

V4l2MenuControl::V4l2MenuControl(const V4l2Handle& device, const v4l2_query_ext_ctrl& query,
                                 Family family)
    : V4l2Control(device, query, family)
{
    std::vector<long long> valid;
    if (query.minimum >= 0 && query.maximum >= query.minimum
        && query.maximum - query.minimum < kMaxMenuRange) {
        for (long long item = query.minimum; item <= query.maximum; ++item) {
            v4l2_querymenu menu{};
            menu.id = query.id;
            menu.index = static_cast<__u32>(item);
            if (device.ioctl(VIDIOC_QUERYMENU, &menu) < 0)
                continue; // a gap
            valid.push_back(item);
            if (query.type == V4L2_CTRL_TYPE_INTEGER_MENU) {
                m_values.push_back(menu.value);
            } else {
                const char* name = reinterpret_cast<const char*>(menu.name);
                m_names.emplace_back(name, ::strnlen(name, sizeof menu.name));
            }
        }
    }
    m_items = MenuItems(valid);
}

void V4l2MenuControl::setIndex(int index)
{
    long long item = 0;
    int result = m_items.itemOf(index, item) ? tryWrite(item) : -EINVAL;
    ASSERT_OR_THROW_CODE(result == 0, result, refusal(result));
}

} // namespace ImageAcquisition
