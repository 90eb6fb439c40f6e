#include "virtualcontrol.h"

namespace ImageAcquisition {

VirtualControl::VirtualControl(DeviceState& state, ControlId id) : m_state(state), m_definition(controlDefinition(id))
{
    m_reading = m_state.read(id);
}

void VirtualControl::refresh()
{
    if (m_state.isAttached())
        m_reading = m_state.read(m_definition.id);
}

} // namespace ImageAcquisition
