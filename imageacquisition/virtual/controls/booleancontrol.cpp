#include "booleancontrol.h"

namespace ImageAcquisition {

BooleanControl::BooleanControl(DeviceState& state, ControlId id) : VirtualControl(state, id) {}

bool BooleanControl::getValue() const
{
    return reading().value != 0;
}

void BooleanControl::setValue(bool value)
{
    state().write(id(), value ? 1 : 0);
    refresh();
}

} // namespace ImageAcquisition
