#include "v4l2controlkind.h"

namespace ImageAcquisition {

namespace {

// Within each class the first 0x1000 ids are standard controls; drivers put
// their own above that, and the old private range starts at its own base.
bool isDriverPrivate(std::uint32_t id)
{
    return (id & 0xffff) >= 0x1000
           || (id >= V4L2_CID_PRIVATE_BASE && id < V4L2_CID_PRIVATE_BASE + 0x10000);
}

} // namespace

int V4l2ControlKind::typeCode(const v4l2_query_ext_ctrl& query)
{
    if (query.nr_of_dims > 0 || (query.flags & V4L2_CTRL_FLAG_DYNAMIC_ARRAY))
        return ICameraControl::TypeCompound;
    switch (query.type) {
    case V4L2_CTRL_TYPE_INTEGER:
        return ICameraControl::TypeInteger;
    case V4L2_CTRL_TYPE_BOOLEAN:
        return ICameraControl::TypeBoolean;
    case V4L2_CTRL_TYPE_MENU:
        return ICameraControl::TypeMenu;
    case V4L2_CTRL_TYPE_BUTTON:
        return ICameraControl::TypeButton;
    case V4L2_CTRL_TYPE_INTEGER64:
        return ICameraControl::TypeInteger64;
    case V4L2_CTRL_TYPE_STRING:
        return ICameraControl::TypeString;
    case V4L2_CTRL_TYPE_BITMASK:
        return ICameraControl::TypeBitmask;
    case V4L2_CTRL_TYPE_INTEGER_MENU:
        return ICameraControl::TypeIntegerMenu;
    default:
        return query.type >= V4L2_CTRL_COMPOUND_TYPES ? ICameraControl::TypeCompound
                                                      : ICameraControl::TypeUnknown;
    }
}

ICameraControl::Family V4l2ControlKind::family(std::uint32_t id, bool kelvaneDevice)
{
    if (kelvaneDevice && isDriverPrivate(id))
        return ICameraControl::FamilyKelvane;
    switch (V4L2_CTRL_ID2CLASS(id)) {
    case V4L2_CTRL_CLASS_USER:
        return ICameraControl::FamilyUser;
    case V4L2_CTRL_CLASS_CAMERA:
        return ICameraControl::FamilyCamera;
    case V4L2_CTRL_CLASS_IMAGE_SOURCE:
        return ICameraControl::FamilyImageSource;
    case V4L2_CTRL_CLASS_IMAGE_PROC:
        return ICameraControl::FamilyImageProcessing;
    case V4L2_CTRL_CLASS_CODEC:
        return ICameraControl::FamilyCodec;
    default:
        return ICameraControl::FamilyOther;
    }
}

} // namespace ImageAcquisition
