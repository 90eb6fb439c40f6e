#include "v4l2controlreader.h"

#include "v4l2booleancontrol.h"
#include "v4l2buttoncontrol.h"
#include "v4l2controlkind.h"
#include "v4l2handle.h"
#include "v4l2intmenucontrol.h"
#include "v4l2numericcontrol.h"
#include "v4l2plaincontrol.h"
#include "v4l2stringcontrol.h"
#include "v4l2stringmenucontrol.h"

namespace ImageAcquisition {

namespace {

// Bound against a driver that never ends the list.
constexpr int kMaxControls = 4096;

} // namespace

V4l2ControlReader::V4l2ControlReader(const V4l2Handle& device, bool kelvaneDevice)
    : m_device(device), m_kelvaneDevice(kelvaneDevice)
{
}

std::vector<std::unique_ptr<V4l2Control>> V4l2ControlReader::read() const
{
    std::vector<std::unique_ptr<V4l2Control>> controls;
    __u32 next = V4L2_CTRL_FLAG_NEXT_CTRL | V4L2_CTRL_FLAG_NEXT_COMPOUND;
    __u32 previous = 0;
    for (int count = 0; count < kMaxControls; ++count) {
        v4l2_query_ext_ctrl query{};
        query.id = next;
        if (m_device.ioctl(VIDIOC_QUERY_EXT_CTRL, &query) < 0)
            break;
        // The ids must grow, or the enumeration would go round for ever.
        if (count > 0 && query.id <= previous)
            break;
        previous = query.id;
        next = query.id | V4L2_CTRL_FLAG_NEXT_CTRL | V4L2_CTRL_FLAG_NEXT_COMPOUND;
        // Class entries are headings of the driver's list, not controls.
        if (query.type == V4L2_CTRL_TYPE_CTRL_CLASS)
            continue;
        auto control = create(query);
        control->refresh();
        controls.push_back(std::move(control));
    }
    return controls;
}

std::unique_ptr<V4l2Control> V4l2ControlReader::create(const v4l2_query_ext_ctrl& query) const
{
    const auto family = V4l2ControlKind::family(query.id, m_kelvaneDevice);
    switch (V4l2ControlKind::typeCode(query)) {
    case ICameraControl::TypeBoolean:
        return std::make_unique<V4l2BooleanControl>(m_device, query, family);
    case ICameraControl::TypeButton:
        return std::make_unique<V4l2ButtonControl>(m_device, query, family);
    case ICameraControl::TypeInteger:
        return std::make_unique<V4l2NumericControl<int>>(m_device, query, family);
    case ICameraControl::TypeInteger64:
        return std::make_unique<V4l2NumericControl<long long>>(m_device, query, family);
    case ICameraControl::TypeIntegerMenu:
        return std::make_unique<V4l2IntMenuControl>(m_device, query, family);
    case ICameraControl::TypeString:
        return std::make_unique<V4l2StringControl>(m_device, query, family);
    case ICameraControl::TypeMenu:
        return std::make_unique<V4l2StringMenuControl>(m_device, query, family);
    default:
        return std::make_unique<V4l2PlainControl>(m_device, query, family);
    }
}

} // namespace ImageAcquisition
