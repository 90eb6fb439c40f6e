#include "cameraprofile.h"

#include "pycamera.h"

#include <imageacquisition/imageacquisition.h>
#include <profile.h>
#include <refused.h>

#include <QJsonDocument>

namespace TarvelloPython {

QByteArray CameraProfile::save(PyCamera& camera)
{
    const std::lock_guard<std::mutex> lock(camera.mutex());
    camera.ensurePresent();
    return QJsonDocument(Tarvello::Profile::save(camera.camera(), camera.entry())).toJson(QJsonDocument::Indented);
}

CameraProfile::Report CameraProfile::load(PyCamera& camera, const QByteArray& json, bool dryRun)
{
    const std::lock_guard<std::mutex> lock(camera.mutex());
    camera.ensurePresent();
    const Tarvello::ProfilePlan plan = Tarvello::Profile::check(camera.camera(), camera.entry(), json);
    Report report;
    report.changes = plan.changeLines();
    report.unchanged = plan.unchanged;
    report.notes = plan.notes;
    if (dryRun)
        return report;
    const Tarvello::WriteOutcome outcome = Tarvello::Profile::apply(camera.camera(), plan);
    if (!outcome.complete())
        throw Tarvello::Refused(outcome.report(), outcome.written);
    report.written = outcome.written;
    return report;
}

} // namespace TarvelloPython
