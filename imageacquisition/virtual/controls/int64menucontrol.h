#pragma once

#include "menucontrol.h"

#include <imageacquisition/icameracontrolint64menu.h>

namespace ImageAcquisition {

class Int64MenuControl : public MenuControl<ICameraControlInt64Menu>
{
public:
    Int64MenuControl(DeviceState& state, ControlId id);

    // 0 for an index that names no entry.
    long long getEntry(int index) const override;
};

} // namespace ImageAcquisition
