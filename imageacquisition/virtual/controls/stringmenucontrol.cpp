#include "stringmenucontrol.h"

namespace ImageAcquisition {

StringMenuControl::StringMenuControl(DeviceState& state, ControlId id) : MenuControl(state, id) {}

const char* StringMenuControl::getEntry(int index) const
{
    if (!hasEntry(index))
        return "";
    return definition().textEntries[static_cast<size_t>(index)].c_str();
}

} // namespace ImageAcquisition
