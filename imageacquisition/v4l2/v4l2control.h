#pragma once

#include <imageacquisition/icameracontrol.h>

#include <linux/videodev2.h>

#include <cstdint>
#include <string>

namespace ImageAcquisition {

class V4l2Handle;

// What every control of a V4L2 device shares: the driver's description, the
// state flags, the value as last read, and the extended-control ioctls.
//
// The state is read when the camera opens and again on refresh(); the
// application refreshes before each look, which keeps it as current as
// control events would, without a second channel to drain.
class V4l2Control : public virtual ICameraControl
{
public:
    V4l2Control(const V4l2Handle& device, const v4l2_query_ext_ctrl& query, Family family);

    int getType() const override { return m_typeCode; }
    Family getFamily() const override { return m_family; }
    const char* getName() const override { return m_name.c_str(); }
    const char* getDescription() const override { return m_description.c_str(); }
    bool isDisabled() const override { return m_query.flags & V4L2_CTRL_FLAG_DISABLED; }
    bool isGrabbed() const override { return m_query.flags & V4L2_CTRL_FLAG_GRABBED; }
    bool isReadOnly() const override { return m_query.flags & V4L2_CTRL_FLAG_READ_ONLY; }
    bool isInactive() const override { return m_query.flags & V4L2_CTRL_FLAG_INACTIVE; }
    // Never throws: a control that cannot be read keeps its last state.
    void refresh() override;

    std::uint32_t id() const { return m_query.id; }
    // Writes the driver's default back; false when refused or when the
    // control has no value to restore (buttons, read-only controls).
    virtual bool restoreDefault();

protected:
    const v4l2_query_ext_ctrl& query() const { return m_query; }
    long long cachedValue() const { return m_value; }
    bool isWritable() const;

    // Reads the current value into the cache; 0 or -errno.
    virtual int readValue();
    // Writes one value and reads back what the driver made of it.
    // Throws AssertFailureException, with the errno text, when refused.
    void writeValue(long long value);
    // 0 or -errno; the control's new value is read back on success.
    int tryWrite(long long value);
    int getExtended(v4l2_ext_control& control) const;
    int setExtended(v4l2_ext_control& control) const;
    // The text of the exception for a refused write (error is -errno).
    std::string refusal(int error) const;
    bool hasReadableValue() const;

    virtual void describe();
    void setDescription(std::string description) { m_description = std::move(description); }

private:
    // One control's current value through VIDIOC_G_EXT_CTRLS or VIDIOC_S_EXT_CTRLS.
    int extended(unsigned long request, v4l2_ext_control& control) const;

    const V4l2Handle& m_device;
    v4l2_query_ext_ctrl m_query;
    int m_typeCode;
    Family m_family;
    std::string m_name;
    std::string m_description;
    long long m_value = 0;
};

} // namespace ImageAcquisition
