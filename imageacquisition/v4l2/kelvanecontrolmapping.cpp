#include "kelvanecontrolmapping.h"

#include "ioctl.h"

#include <imageacquisition/kelvane.h>

#include <linux/uvcvideo.h>
#include <linux/videodev2.h>

#include <cerrno>
#include <cstring>

namespace ImageAcquisition {

namespace {

using namespace KelvaneExtensionUnit;

uvc_xu_control_mapping mappingOf(const Control& control)
{
    uvc_xu_control_mapping mapping{};
    mapping.id = control.v4l2Id;
    std::strncpy(reinterpret_cast<char*>(mapping.name), control.name, sizeof mapping.name - 1);
    std::memcpy(mapping.entity, kGuid, sizeof mapping.entity);
    mapping.selector = control.selector;
    mapping.offset = 0;
    switch (control.kind) {
    case Kind::Boolean:
        // One bit of the control's first byte.
        mapping.size = 1;
        mapping.v4l2_type = V4L2_CTRL_TYPE_BOOLEAN;
        mapping.data_type = UVC_CTRL_DATA_TYPE_BOOLEAN;
        break;
    case Kind::Integer:
        mapping.size = static_cast<__u8>(control.size * 8);
        mapping.v4l2_type = V4L2_CTRL_TYPE_INTEGER;
        mapping.data_type = control.dataType == DataType::Signed ? UVC_CTRL_DATA_TYPE_SIGNED
                                                                 : UVC_CTRL_DATA_TYPE_UNSIGNED;
        break;
    }
    return mapping;
}

std::string reason(int error)
{
    switch (error) {
    case ENOENT:
        return "the camera has no such control in its extension unit";
    case EPERM:
    case EACCES:
        return "not permitted";
    default:
        return std::strerror(error);
    }
}

} // namespace

std::string KelvaneControlMapping::mapAll(int fd)
{
    std::string failures;
    for (const Control& control : kControls) {
        uvc_xu_control_mapping mapping = mappingOf(control);
        const int result = rawIoctl(fd, UVCIOC_CTRL_MAP, &mapping);
        if (result == 0 || result == -EEXIST)
            continue;
        failures += (failures.empty() ? "" : "; ") + std::string("\"") + control.name + "\": " + reason(-result);
    }
    return failures;
}

} // namespace ImageAcquisition
