#include "buttoncontrol.h"

namespace ImageAcquisition {

ButtonControl::ButtonControl(DeviceState& state, ControlId id) : VirtualControl(state, id) {}

void ButtonControl::press()
{
    state().press(id());
    refresh();
}

} // namespace ImageAcquisition
