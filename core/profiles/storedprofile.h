#pragma once

#include "profileplan.h"
#include "writeoutcome.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace ImageAcquisition {
class ICamera;
}

namespace Tarvello {

struct CameraEntry;

// A camera's own settings, kept by its serial number so that they come back
// whenever it is plugged in, whichever node it gets: for one user under
// $XDG_CONFIG_HOME/tarvello/cameras/SERIAL.json, or for every user under
// /etc/tarvello/cameras/SERIAL.json (TARVELLO_SYSTEM_PROFILE_DIR names
// another folder, for tests and packagers). The file is a profile as
// Profile writes it, checked whole before the first write when applied.
class StoredProfile
{
public:
    enum class Scope
    {
        User,
        System,
    };

    // Throws BadInput when the camera has no serial number a file can be
    // named after.
    StoredProfile(const CameraEntry& camera, Scope scope);

    QString path() const { return m_path; }
    bool exists() const;
    // The file's text; nothing when there is none. Throws CtlError when it
    // is there but cannot be read.
    std::optional<QByteArray> read() const;
    // Keeps the camera's writable controls; returns how many.
    int store(ImageAcquisition::ICamera& camera) const;
    // False when there was nothing to remove.
    bool forget() const;
    // Checks the stored profile whole against the camera, then writes what
    // differs. Nothing when there is no stored profile.
    std::optional<WriteOutcome> apply(ImageAcquisition::ICamera& camera, ProfilePlan* plan = nullptr) const;

    static QString folder(Scope scope);

private:
    const CameraEntry& m_camera;
    QString m_path;
};

} // namespace Tarvello
