#pragma once

#include "controldefinition.h"
#include "devicestate.h"

#include <imageacquisition/icameracontrol.h>

namespace ImageAcquisition {

// What every control of the virtual camera shares: its description from the
// catalogue and the state last read from the camera. Queries answer from
// that state; refresh() reads it anew. Once the camera is unplugged the
// last state stays.
class VirtualControl : public virtual ICameraControl
{
public:
    VirtualControl(DeviceState& state, ControlId id);

    int getType() const override { return m_definition.type; }
    Family getFamily() const override { return m_definition.family; }
    const char* getName() const override { return m_definition.name; }
    const char* getDescription() const override { return m_definition.description; }
    bool isDisabled() const override { return m_reading.disabled; }
    bool isGrabbed() const override { return m_reading.grabbed; }
    bool isReadOnly() const override { return m_reading.readOnly; }
    bool isInactive() const override { return m_reading.inactive; }
    void refresh() override;

protected:
    const ControlDefinition& definition() const { return m_definition; }
    const ControlReading& reading() const { return m_reading; }
    DeviceState& state() { return m_state; }
    ControlId id() const { return m_definition.id; }

private:
    DeviceState& m_state;
    const ControlDefinition& m_definition;
    ControlReading m_reading;
};

} // namespace ImageAcquisition
