#pragma once

#include "v4l2menucontrol.h"

#include <imageacquisition/icameracontrolstringmenu.h>

namespace ImageAcquisition {

class V4l2StringMenuControl : public V4l2MenuControl, public ICameraControlStringMenu
{
public:
    using V4l2MenuControl::V4l2MenuControl;

    // "" for an entry that does not exist.
    const char* getEntry(int index) const override
    {
        if (index < 0 || index >= static_cast<int>(m_names.size()))
            return "";
        return m_names[static_cast<std::size_t>(index)].c_str();
    }
};

} // namespace ImageAcquisition
