#include "v4l2control.h"

#include "v4l2controlkind.h"
#include "v4l2handle.h"

#include <assertfailureexception.h>

#include <cerrno>
#include <cstring>

namespace ImageAcquisition {

namespace {

// The types whose value is one number that VIDIOC_G/S_EXT_CTRLS carries in
// value or value64.
bool holdsNumber(unsigned int type)
{
    switch (type) {
    case V4L2_CTRL_TYPE_INTEGER:
    case V4L2_CTRL_TYPE_BOOLEAN:
    case V4L2_CTRL_TYPE_MENU:
    case V4L2_CTRL_TYPE_INTEGER_MENU:
    case V4L2_CTRL_TYPE_BITMASK:
    case V4L2_CTRL_TYPE_INTEGER64:
        return true;
    default:
        return false;
    }
}

} // namespace

V4l2Control::V4l2Control(const V4l2Handle& device, const v4l2_query_ext_ctrl& query, Family family)
    : m_device(device),
      m_query(query),
      m_typeCode(V4l2ControlKind::typeCode(query)),
      m_family(family),
      m_name(query.name, ::strnlen(query.name, sizeof query.name)),
      m_description(m_name)
{
}

void V4l2Control::refresh()
{
    v4l2_query_ext_ctrl query{};
    query.id = m_query.id;
    if (m_device.ioctl(VIDIOC_QUERY_EXT_CTRL, &query) == 0 && query.id == m_query.id)
        m_query = query;
    if (hasReadableValue())
        readValue();
    describe();
}

bool V4l2Control::restoreDefault()
{
    if (!isWritable())
        return false;
    return holdsNumber(m_query.type) && tryWrite(m_query.default_value) == 0;
}

bool V4l2Control::isWritable() const
{
    return !(m_query.flags & (V4L2_CTRL_FLAG_READ_ONLY | V4L2_CTRL_FLAG_DISABLED))
           && m_query.nr_of_dims == 0;
}

bool V4l2Control::hasReadableValue() const
{
    if (m_query.flags & (V4L2_CTRL_FLAG_WRITE_ONLY | V4L2_CTRL_FLAG_DISABLED))
        return false;
    if (m_query.nr_of_dims > 0)
        return false;
    return holdsNumber(m_query.type) || m_query.type == V4L2_CTRL_TYPE_STRING;
}

int V4l2Control::readValue()
{
    v4l2_ext_control control{};
    control.id = m_query.id;
    int result = getExtended(control);
    if (result == 0) {
        if (m_query.type == V4L2_CTRL_TYPE_INTEGER64)
            m_value = control.value64;
        else if (m_query.type == V4L2_CTRL_TYPE_BITMASK)
            m_value = static_cast<__u32>(control.value); // all 32 bits, no sign
        else
            m_value = control.value;
    }
    return result;
}

void V4l2Control::writeValue(long long value)
{
    int result = tryWrite(value);
    ASSERT_OR_THROW_CODE(result == 0, result, refusal(result));
}

int V4l2Control::tryWrite(long long value)
{
    v4l2_ext_control control{};
    control.id = m_query.id;
    if (m_query.type == V4L2_CTRL_TYPE_INTEGER64)
        control.value64 = value;
    else
        control.value = static_cast<__s32>(value);
    int result = setExtended(control);
    if (result == 0)
        refresh();
    return result;
}

int V4l2Control::getExtended(v4l2_ext_control& control) const
{
    return extended(VIDIOC_G_EXT_CTRLS, control);
}

int V4l2Control::setExtended(v4l2_ext_control& control) const
{
    return extended(VIDIOC_S_EXT_CTRLS, control);
}

int V4l2Control::extended(unsigned long request, v4l2_ext_control& control) const
{
    v4l2_ext_controls controls{};
    controls.which = V4L2_CTRL_WHICH_CUR_VAL;
    controls.count = 1;
    controls.controls = &control;
    return m_device.ioctl(request, &controls);
}

std::string V4l2Control::refusal(int error) const
{
    // uvcvideo passes on why the camera refused a request as an errno of
    // its own choosing (UVC's request error codes); their system texts
    // ("Invalid or incomplete multibyte or wide character" for a camera in
    // the wrong state) would only puzzle.
    const char* reason = nullptr;
    switch (-error) {
    case EILSEQ:
        reason = "the camera refuses it in its present state";
        break;
    case EPIPE:
        reason = "the camera refused it";
        break;
    case EACCES:
        reason = "it cannot be written now (read-only, or an automatic mode sets it)";
        break;
    case ERANGE:
        reason = "the value is out of the camera's range";
        break;
    case EREMOTE:
        reason = "the camera is not powered for it";
        break;
    default:
        break;
    }
    return "Cannot set control '" + m_name + "': " + (reason ? reason : std::strerror(-error));
}

void V4l2Control::describe()
{
    m_description = m_name;
}

} // namespace ImageAcquisition
