#pragma once

#include "virtualcontrol.h"

#include <imageacquisition/icameracontrolnumeric.h>

namespace ImageAcquisition {

// An integer control; T is int or long long.
template <typename T>
class NumericControl : public ICameraControlNumeric<T>, public VirtualControl
{
public:
    NumericControl(DeviceState& state, ControlId id) : VirtualControl(state, id) {}

    T getMaximum() const override { return static_cast<T>(definition().maximum); }
    T getMinimum() const override { return static_cast<T>(definition().minimum); }
    T getStep() const override { return static_cast<T>(definition().step); }
    T getValue() const override { return static_cast<T>(reading().value); }
    void setValue(T value) override
    {
        state().write(id(), value);
        refresh();
    }
};

} // namespace ImageAcquisition
