#pragma once

#include "icameracontrol.h"

namespace ImageAcquisition {

// An integer control with inclusive bounds and a step; T is int or long long.
template <typename T>
class ICameraControlNumeric : public virtual ICameraControl
{
public:
    virtual T getMaximum() const = 0;
    virtual T getMinimum() const = 0;
    virtual T getStep() const = 0;
    virtual T getValue() const = 0;
    virtual void setValue(T value) = 0;
};

} // namespace ImageAcquisition
