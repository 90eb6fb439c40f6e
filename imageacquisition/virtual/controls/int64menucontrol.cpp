#include "int64menucontrol.h"

namespace ImageAcquisition {

Int64MenuControl::Int64MenuControl(DeviceState& state, ControlId id) : MenuControl(state, id) {}

long long Int64MenuControl::getEntry(int index) const
{
    if (!hasEntry(index))
        return 0;
    return definition().valueEntries[static_cast<size_t>(index)];
}

} // namespace ImageAcquisition
