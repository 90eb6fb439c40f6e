#pragma once

#include "v4l2control.h"

#include <imageacquisition/icameracontrolboolean.h>

namespace ImageAcquisition {

class V4l2BooleanControl : public V4l2Control, public ICameraControlBoolean
{
public:
    using V4l2Control::V4l2Control;

    bool getValue() const override { return cachedValue() != 0; }
    void setValue(bool value) override { writeValue(value ? 1 : 0); }
};

} // namespace ImageAcquisition
