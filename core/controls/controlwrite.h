#pragma once

#include "controldescription.h"

#include <QVariant>

namespace ImageAcquisition {
class ICameraControl;
}

namespace Tarvello {

// One validated write waiting to be made: the control, how it looked when
// checked, and the value (as ControlValueParser gives it).
struct ControlWrite
{
    ImageAcquisition::ICameraControl* control = nullptr;
    ControlDescription before;
    QVariant value;

    // "Brightness = 140" or "Restart Sequence pressed".
    QString text() const;
    // What the value reads as, in the same words as ControlDescription::valueText.
    QString valueText() const;
    // True when writing would change nothing (buttons always change).
    bool isNoChange() const;
};

} // namespace Tarvello
