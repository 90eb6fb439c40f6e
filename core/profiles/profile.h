#pragma once

#include "profileplan.h"
#include "writeoutcome.h"

#include <QByteArray>
#include <QJsonObject>

namespace ImageAcquisition {
class ICamera;
}

namespace Tarvello {

struct CameraEntry;

// A camera's writable controls as JSON, and back:
//
//   {"tarvello-profile": 1,
//    "camera": {"name": "...", "serial": "..."},
//    "controls": [{"name": "Brightness", "value": 128}, ...]}
//
// Controls that are read-only, disabled, inactive (an automatic mode sets
// them) or without a value (buttons) are not stored. Menus are stored by
// entry text.
class Profile
{
public:
    static QJsonObject save(ImageAcquisition::ICamera& camera, const CameraEntry& entry);

    // The text of a profile file; throws BadInput when it cannot be read.
    static QByteArray readFile(const QString& file);

    // Checks the whole profile against the camera before anything is
    // written: malformed JSON, unknown or repeated controls, values of the
    // wrong type or out of range and controls that cannot be written now are
    // all reported at once in one BadInput (or Refused when only the last
    // kind is found).
    static ProfilePlan check(ImageAcquisition::ICamera& camera, const CameraEntry& entry,
                             const QByteArray& json);

    // Writes the plan's changes in family order, going on past refusals so
    // that each refused control is reported.
    static WriteOutcome apply(ImageAcquisition::ICamera& camera, const ProfilePlan& plan);

    static constexpr int kVersion = 1;
};

} // namespace Tarvello
