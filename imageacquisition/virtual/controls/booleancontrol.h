#pragma once

#include "virtualcontrol.h"

#include <imageacquisition/icameracontrolboolean.h>

namespace ImageAcquisition {

class BooleanControl : public ICameraControlBoolean, public VirtualControl
{
public:
    BooleanControl(DeviceState& state, ControlId id);

    bool getValue() const override;
    void setValue(bool value) override;
};

} // namespace ImageAcquisition
