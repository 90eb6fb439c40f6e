#include "controlwriter.h"

#include "badinput.h"
#include "cameracontrols.h"
#include "controlvalueparser.h"
#include "refused.h"
#include "standarderrormute.h"

#include <assertfailureexception.h>
#include <imageacquisition/imageacquisition.h>

#include <algorithm>

namespace Tarvello {

using namespace ImageAcquisition;

namespace {

bool isMode(const ControlDescription& control)
{
    return control.kind == "boolean" || control.kind == "menu" || control.kind == "integer-menu";
}

// The layer's exception text ends in where the assertion sat in its source,
// which tells a user nothing; the reason is what comes before.
QString cameraReason(const std::exception& error)
{
    QString text = QString::fromUtf8(error.what()).trimmed();
    for (const char* tail : {": Assertion '", ": Illegal code assertion", "Assertion '", "Illegal code assertion"}) {
        const int at = text.indexOf(tail);
        if (at >= 0) {
            text = text.left(at).trimmed();
            break;
        }
    }
    return text.isEmpty() ? QString("the camera refused the write") : text;
}

} // namespace

ControlWriter::ControlWriter(ICamera& camera) : m_camera(camera) {}

QVector<ControlWrite> ControlWriter::plan(const QStringList& assignments) const
{
    QVector<QPair<QString, QString>> pairs;
    for (const QString& assignment : assignments) {
        const int equals = assignment.indexOf('=');
        // A null value means no '=' at all; "NAME=" gives an empty, non-null one.
        QString value = equals < 0 ? QString() : assignment.mid(equals + 1);
        if (equals >= 0 && value.isNull())
            value = QString("");
        pairs.append(qMakePair(equals < 0 ? assignment : assignment.left(equals), value));
    }
    return plan(pairs);
}

QVector<ControlWrite> ControlWriter::plan(const QVector<QPair<QString, QString>>& pairs) const
{
    const CameraControls controls(m_camera);
    QStringList badInput;
    QStringList refusals;
    QVector<ControlWrite> writes;
    for (const auto& pair : pairs) {
        try {
            ControlWrite write;
            write.control = &controls.find(pair.first);
            write.before = ControlDescription::of(*write.control);
            for (const ControlWrite& earlier : writes) {
                if (earlier.control == write.control)
                    throw BadInput(QString("%1 is given more than once.").arg(write.before.name));
            }
            if (write.before.kind != "button" && pair.second.isNull())
                throw BadInput(QString("%1: no value given (NAME=VALUE).").arg(write.before.name));
            write.value = ControlValueParser::fromText(write.before, pair.second);
            writes.append(write);
        } catch (const BadInput& error) {
            badInput << error.message();
        }
    }
    for (const ControlWrite& write : writes) {
        const QString reason = refusalOf(write.before);
        if (!reason.isEmpty() && !governedInBatch(write, writes))
            refusals << QString("%1 %2.").arg(write.before.name, reason);
    }
    if (!badInput.isEmpty())
        throw BadInput((badInput + refusals).join('\n') + "\nNothing was written.");
    if (!refusals.isEmpty())
        throw Refused(refusals.join('\n') + "\nNothing was written.");
    return writes;
}

WriteOutcome ControlWriter::apply(QVector<ControlWrite> writes, OnRefusal onRefusal) const
{
    order(writes);
    WriteOutcome outcome;
    bool stopped = false;
    for (const ControlWrite& planned : writes) {
        if (stopped) {
            outcome.notTried << planned.text();
            continue;
        }
        planned.control->refresh();
        const QString reason = refusalOf(ControlDescription::of(*planned.control));
        const QString refusal = reason.isEmpty() ? write(planned) : "it " + reason;
        if (refusal.isEmpty()) {
            outcome.written << planned.text();
        } else {
            outcome.refused.append({planned.before.name, refusal});
            stopped = onRefusal == OnRefusal::Stop;
        }
    }
    return outcome;
}

void ControlWriter::applyAll(const QVector<ControlWrite>& writes) const
{
    const WriteOutcome outcome = apply(writes, OnRefusal::Stop);
    if (!outcome.complete())
        throw Refused(outcome.report(), outcome.written);
}

void ControlWriter::order(QVector<ControlWrite>& writes)
{
    QStringList families;
    for (const ControlWrite& write : writes) {
        if (!families.contains(write.before.family))
            families << write.before.family;
    }
    std::stable_sort(writes.begin(), writes.end(), [&](const ControlWrite& a, const ControlWrite& b) {
        const int familyA = families.indexOf(a.before.family);
        const int familyB = families.indexOf(b.before.family);
        if (familyA != familyB)
            return familyA < familyB;
        return isMode(a.before) && !isMode(b.before);
    });
}

QString ControlWriter::refusalOf(const ControlDescription& control)
{
    if (control.readOnly)
        return "is read-only";
    if (control.kind != "button" && !control.hasValue())
        return QString("is a %1 control, which has no value that can be written").arg(control.kind);
    if (control.disabled)
        return "is disabled";
    if (control.grabbed)
        return "is grabbed (held while the camera streams)";
    if (control.inactive)
        return "is inactive (an automatic mode governs it)";
    return QString();
}

bool ControlWriter::governedInBatch(const ControlWrite& write, const QVector<ControlWrite>& batch)
{
    ControlDescription withoutInactive = write.before;
    withoutInactive.inactive = false;
    if (!write.before.inactive || !refusalOf(withoutInactive).isEmpty())
        return false;
    return std::any_of(batch.begin(), batch.end(), [&](const ControlWrite& other) {
        return other.control != write.control && other.before.family == write.before.family
               && isMode(other.before);
    });
}

QString ControlWriter::write(const ControlWrite& write)
{
    ICameraControl* control = write.control;
    const QString& kind = write.before.kind;
    const StandardErrorMute mute;
    try {
        if (kind == "boolean")
            dynamic_cast<ICameraControlBoolean&>(*control).setValue(write.value.toBool());
        else if (kind == "integer")
            dynamic_cast<ICameraControlNumeric<int>&>(*control).setValue(int(write.value.toLongLong()));
        else if (kind == "integer64")
            dynamic_cast<ICameraControlNumeric<long long>&>(*control).setValue(write.value.toLongLong());
        else if (kind == "menu" || kind == "integer-menu")
            dynamic_cast<ICameraControlBaseMenu&>(*control).setIndex(write.value.toInt());
        else if (kind == "string")
            dynamic_cast<ICameraControlString&>(*control).setValue(write.value.toString().toUtf8().constData());
        else if (kind == "button")
            dynamic_cast<ICameraControlButton&>(*control).press();
        else
            return QString("a %1 control cannot be written").arg(kind);
    } catch (const std::bad_cast&) {
        return QString("the camera does not offer this %1 control the usual way").arg(kind);
    } catch (const std::exception& error) {
        return cameraReason(error);
    }
    return QString();
}

} // namespace Tarvello
