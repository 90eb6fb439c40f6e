#pragma once

#include "controlwrite.h"

#include <QStringList>
#include <QVector>

namespace Tarvello {

// What loading a profile would do to a camera: the writes that change
// something, the controls already at the stored value, and notes that do
// not stop the load (a profile saved on another camera, for instance).
struct ProfilePlan
{
    QVector<ControlWrite> changes;
    QStringList unchanged;
    QStringList notes;

    // One line per change: "Brightness: 128 -> 140".
    QStringList changeLines() const;
};

} // namespace Tarvello
