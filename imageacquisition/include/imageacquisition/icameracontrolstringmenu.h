#pragma once

#include "icameracontrolbasemenu.h"

namespace ImageAcquisition {

class ICameraControlStringMenu : public virtual ICameraControlBaseMenu
{
public:
    virtual const char* getEntry(int index) const = 0;
};

} // namespace ImageAcquisition
