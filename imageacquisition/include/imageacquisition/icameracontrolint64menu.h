#pragma once

#include "icameracontrolbasemenu.h"

namespace ImageAcquisition {

class ICameraControlInt64Menu : public virtual ICameraControlBaseMenu
{
public:
    virtual long long getEntry(int index) const = 0;
};

} // namespace ImageAcquisition
