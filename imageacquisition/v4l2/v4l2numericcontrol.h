#pragma once

#include "v4l2control.h"

#include <imageacquisition/icameracontrolnumeric.h>

namespace ImageAcquisition {

// An integer control: T is int for 32-bit controls, long long for 64-bit ones.
template <typename T>
class V4l2NumericControl : public V4l2Control, public ICameraControlNumeric<T>
{
public:
    using V4l2Control::V4l2Control;

    T getMaximum() const override { return static_cast<T>(query().maximum); }
    T getMinimum() const override { return static_cast<T>(query().minimum); }
    T getStep() const override { return static_cast<T>(query().step); }
    T getValue() const override { return static_cast<T>(cachedValue()); }
    void setValue(T value) override { writeValue(value); }
};

} // namespace ImageAcquisition
