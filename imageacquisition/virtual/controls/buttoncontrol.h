#pragma once

#include "virtualcontrol.h"

#include <imageacquisition/icameracontrolbutton.h>

namespace ImageAcquisition {

class ButtonControl : public ICameraControlButton, public VirtualControl
{
public:
    ButtonControl(DeviceState& state, ControlId id);

    void press() override;
};

} // namespace ImageAcquisition
