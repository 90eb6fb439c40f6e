#pragma once

#include "v4l2control.h"

#include <imageacquisition/icameracontrolbutton.h>

namespace ImageAcquisition {

class V4l2ButtonControl : public V4l2Control, public ICameraControlButton
{
public:
    using V4l2Control::V4l2Control;

    // Any value written to a button performs its action.
    void press() override { writeValue(1); }
    // An action has no state to restore.
    bool restoreDefault() override { return false; }
};

} // namespace ImageAcquisition
