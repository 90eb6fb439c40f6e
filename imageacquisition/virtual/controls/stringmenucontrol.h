#pragma once

#include "menucontrol.h"

#include <imageacquisition/icameracontrolstringmenu.h>

namespace ImageAcquisition {

class StringMenuControl : public MenuControl<ICameraControlStringMenu>
{
public:
    StringMenuControl(DeviceState& state, ControlId id);

    // An empty text for an index that names no entry.
    const char* getEntry(int index) const override;
};

} // namespace ImageAcquisition
