#pragma once

#include "v4l2menucontrol.h"

#include <imageacquisition/icameracontrolint64menu.h>

namespace ImageAcquisition {

class V4l2IntMenuControl : public V4l2MenuControl, public ICameraControlInt64Menu
{
public:
    using V4l2MenuControl::V4l2MenuControl;

    // 0 for an entry that does not exist.
    long long getEntry(int index) const override
    {
        if (index < 0 || index >= static_cast<int>(m_values.size()))
            return 0;
        return m_values[static_cast<std::size_t>(index)];
    }
};

} // namespace ImageAcquisition
