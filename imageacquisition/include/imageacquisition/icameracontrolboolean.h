#pragma once

#include "icameracontrol.h"

namespace ImageAcquisition {

class ICameraControlBoolean : public virtual ICameraControl
{
public:
    virtual bool getValue() const = 0;
    virtual void setValue(bool value) = 0;
};

} // namespace ImageAcquisition
