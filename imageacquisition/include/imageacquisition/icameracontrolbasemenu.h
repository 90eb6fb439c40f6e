#pragma once

#include "icameracontrol.h"

namespace ImageAcquisition {

// What both kinds of menu share: entries numbered 0 .. count - 1 without gaps.
class ICameraControlBaseMenu : public virtual ICameraControl
{
public:
    virtual int getEntryCount() const = 0;
    virtual int getIndex() const = 0;
    virtual void setIndex(int index) = 0;
};

} // namespace ImageAcquisition
