#pragma once

#include <QByteArray>
#include <QStringList>

namespace TarvelloPython {

class PyCamera;

// Profiles of tarvello-ctl (the core's Profile) for one open camera.
class CameraProfile
{
public:
    struct Report
    {
        QStringList changes;   // "Brightness: 128 -> 140"
        QStringList unchanged;
        QStringList notes;
        QStringList written;   // empty on a dry run
    };

    static QByteArray save(PyCamera& camera);
    // Checks the whole profile first (the core's BadInput or Refused, and
    // nothing written, on any problem); then, unless dryRun, writes the
    // changes and throws Refused listing what the camera refused.
    static Report load(PyCamera& camera, const QByteArray& json, bool dryRun);
};

} // namespace TarvelloPython
