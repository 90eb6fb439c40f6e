#pragma once

#include "virtualcontrol.h"

#include <imageacquisition/icameracontrolstring.h>

namespace ImageAcquisition {

class StringControl : public ICameraControlString, public VirtualControl
{
public:
    StringControl(DeviceState& state, ControlId id);

    int getLength() const override;
    void getValue(char* buffer, int size) const override;
    void setValue(const char* value) override;
    int getMinLength() const override;
    int getMaxLength() const override;
};

} // namespace ImageAcquisition
