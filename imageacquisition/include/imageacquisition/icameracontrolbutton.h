#pragma once

#include "icameracontrol.h"

namespace ImageAcquisition {

// An action without a value.
class ICameraControlButton : public virtual ICameraControl
{
public:
    virtual void press() = 0;
};

} // namespace ImageAcquisition
