#pragma once

#include <QString>

namespace ImageAcquisition {
class IFrameInterval;
}

// A frame interval the way the window's interval list shows it:
// "0.033 (30 fps)".
class IntervalText
{
public:
    static QString of(const ImageAcquisition::IFrameInterval& interval);
};
