#pragma once

#include <imageacquisition/icameracontrol.h>

#include <linux/videodev2.h>

#include <cstdint>

namespace ImageAcquisition {

// How a driver's control appears in the layer: its type code and family.
class V4l2ControlKind
{
public:
    // The layer's type code (ICameraControl::Type) for a control as the
    // driver describes it. Arrays of any element type are compound values.
    static int typeCode(const v4l2_query_ext_ctrl& query);

    // Controls of one class depend on each other (an automatic mode and the
    // value it drives are always in the same class), so the class is the
    // family. On Kelvane's cameras, controls outside the standard ranges are
    // the maker's own (mapped from its extension unit) and form one family.
    static ICameraControl::Family family(std::uint32_t id, bool kelvaneDevice);
};

} // namespace ImageAcquisition
