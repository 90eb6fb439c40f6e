#include "profile.h"

#include "badinput.h"
#include "cameracontrols.h"
#include "cameraentry.h"
#include "controlvalueparser.h"
#include "controlwriter.h"
#include "refused.h"

#include <imageacquisition/imageacquisition.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>

namespace Tarvello {

using namespace ImageAcquisition;

namespace {

const char* const kMarker = "tarvello-profile";

} // namespace

QJsonObject Profile::save(ICamera& camera, const CameraEntry& entry)
{
    QJsonArray controls;
    for (const ControlDescription& control : CameraControls(camera).describeAll()) {
        if (control.kind == "button" || !ControlWriter::refusalOf(control).isEmpty())
            continue;
        controls.append(QJsonObject{{"name", control.name},
                                    {"value", ControlValueParser::toJson(control, control.value)}});
    }
    return QJsonObject{{kMarker, kVersion},
                       {"camera", QJsonObject{{"name", entry.name}, {"serial", entry.serial}}},
                       {"controls", controls}};
}

QByteArray Profile::readFile(const QString& file)
{
    QFile input(file);
    if (!input.open(QIODevice::ReadOnly))
        throw BadInput(QString("Cannot read %1: %2").arg(file, input.errorString()));
    return input.readAll();
}

ProfilePlan Profile::check(ICamera& camera, const CameraEntry& entry, const QByteArray& json)
{
    QJsonParseError parseError{};
    const QJsonDocument document = QJsonDocument::fromJson(json, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        throw BadInput(QString("Not a profile: JSON error at byte %1: %2.")
                           .arg(parseError.offset)
                           .arg(parseError.errorString()));
    const QJsonObject root = document.object();
    if (!document.isObject() || !root.contains(kMarker) || !root.value("controls").isArray())
        throw BadInput("Not a profile: a JSON object with \"tarvello-profile\" and a \"controls\" list is expected.");
    if (root.value(kMarker).toInt() != kVersion)
        throw BadInput(QString("Profile version %1 is not understood (this tool reads version %2).")
                           .arg(root.value(kMarker).toVariant().toString())
                           .arg(kVersion));

    ProfilePlan plan;
    const QJsonObject from = root.value("camera").toObject();
    if (!from.value("name").toString().isEmpty() && from.value("name").toString() != entry.name)
        plan.notes << QString("The profile was saved on '%1', not on '%2'.").arg(from.value("name").toString(), entry.name);

    const CameraControls controls(camera);
    QStringList badInput;
    QStringList refusals;
    QVector<ControlWrite> writes;
    const QJsonArray list = root.value("controls").toArray();
    for (int i = 0; i < list.size(); ++i) {
        const QJsonObject item = list.at(i).toObject();
        const QString name = item.value("name").toString();
        if (name.isEmpty() || !item.contains("value")) {
            badInput << QString("Entry %1 is not {\"name\": ..., \"value\": ...}.").arg(i + 1);
            continue;
        }
        ICameraControl* control = controls.lookup(name);
        if (!control) {
            badInput << QString("%1: this camera has no such control (a profile of another camera?).").arg(name);
            continue;
        }
        ControlWrite write;
        write.control = control;
        write.before = ControlDescription::of(*control);
        bool repeated = false;
        for (const ControlWrite& earlier : writes)
            repeated = repeated || earlier.control == control;
        if (repeated) {
            badInput << QString("%1 appears more than once.").arg(write.before.name);
            continue;
        }
        try {
            write.value = ControlValueParser::fromJson(write.before, item.value("value"));
        } catch (const BadInput& error) {
            badInput << error.message();
            continue;
        }
        writes.append(write);
    }
    // Only a mode that changes can make the values it governs writable.
    QVector<ControlWrite> changing;
    for (const ControlWrite& write : writes) {
        if (write.isNoChange())
            plan.unchanged << write.before.name;
        else
            changing.append(write);
    }
    for (const ControlWrite& write : changing) {
        const QString reason = ControlWriter::refusalOf(write.before);
        if (!reason.isEmpty() && !ControlWriter::governedInBatch(write, changing))
            refusals << QString("%1 %2.").arg(write.before.name, reason);
        else
            plan.changes.append(write);
    }
    if (!badInput.isEmpty())
        throw BadInput((badInput + refusals).join('\n') + "\nNothing was written.");
    if (!refusals.isEmpty())
        throw Refused(refusals.join('\n') + "\nNothing was written.");
    ControlWriter::order(plan.changes);
    return plan;
}

WriteOutcome Profile::apply(ICamera& camera, const ProfilePlan& plan)
{
    return ControlWriter(camera).apply(plan.changes, ControlWriter::OnRefusal::Continue);
}

} // namespace Tarvello
