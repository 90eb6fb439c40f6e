#pragma once

#include "virtualcontrol.h"

namespace ImageAcquisition {

// The part both kinds of menu share; Menu is the menu interface implemented.
template <typename Menu>
class MenuControl : public Menu, public VirtualControl
{
public:
    MenuControl(DeviceState& state, ControlId id) : VirtualControl(state, id) {}

    int getEntryCount() const override { return static_cast<int>(definition().maximum) + 1; }
    int getIndex() const override { return static_cast<int>(reading().value); }
    void setIndex(int index) override
    {
        state().write(id(), index);
        refresh();
    }

protected:
    bool hasEntry(int index) const { return index >= 0 && index < getEntryCount(); }
};

} // namespace ImageAcquisition
