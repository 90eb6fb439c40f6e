#pragma once

#include "menuitems.h"
#include "v4l2control.h"

#include <imageacquisition/icameracontrolbasemenu.h>

#include <string>
#include <vector>

namespace ImageAcquisition {

// What text menus and integer menus share: the valid items, read once when
// the camera opens, and the mapping between entries and driver values.
class V4l2MenuControl : public V4l2Control, public virtual ICameraControlBaseMenu
{
public:
    V4l2MenuControl(const V4l2Handle& device, const v4l2_query_ext_ctrl& query, Family family);

    int getEntryCount() const override { return m_items.count(); }
    int getIndex() const override { return m_items.entryOf(cachedValue()); }
    void setIndex(int index) override;

protected:
    // Entries in order: the names of a text menu, the values of an integer menu.
    std::vector<std::string> m_names;
    std::vector<long long> m_values;

private:
    MenuItems m_items;
};

} // namespace ImageAcquisition
