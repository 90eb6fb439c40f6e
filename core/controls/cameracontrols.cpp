#include "cameracontrols.h"

#include "badinput.h"
#include "layertext.h"

#include <imageacquisition/imageacquisition.h>

#include <QStringList>

namespace Tarvello {

using namespace ImageAcquisition;

CameraControls::CameraControls(ICamera& camera) : m_camera(camera) {}

QVector<ICameraControl*> CameraControls::all() const
{
    QVector<ICameraControl*> controls;
    for (int i = 0; i < m_camera.getControlCount(); ++i) {
        if (ICameraControl* control = m_camera.getControl(i)) {
            control->refresh();
            controls.append(control);
        }
    }
    return controls;
}

QVector<ControlDescription> CameraControls::describeAll() const
{
    QVector<ControlDescription> descriptions;
    for (ICameraControl* control : all())
        descriptions.append(ControlDescription::of(*control));
    return descriptions;
}

ICameraControl* CameraControls::lookup(const QString& name) const
{
    const QString wanted = name.trimmed();
    const QString wantedKey = ControlDescription::keyOf(wanted);
    for (int i = 0; i < m_camera.getControlCount(); ++i) {
        ICameraControl* control = m_camera.getControl(i);
        if (!control)
            continue;
        const QString controlName = layerText(control->getName());
        if (controlName.compare(wanted, Qt::CaseInsensitive) == 0
            || (!wantedKey.isEmpty() && ControlDescription::keyOf(controlName) == wantedKey)) {
            control->refresh();
            return control;
        }
    }
    return nullptr;
}

ICameraControl& CameraControls::find(const QString& name) const
{
    if (ICameraControl* control = lookup(name))
        return *control;
    const QString wantedKey = ControlDescription::keyOf(name);
    QStringList near;
    for (int i = 0; i < m_camera.getControlCount(); ++i) {
        const ICameraControl* control = m_camera.getControl(i);
        const QString key = control ? ControlDescription::keyOf(layerText(control->getName())) : QString();
        const QStringList words = wantedKey.split('_', Qt::SkipEmptyParts);
        for (const QString& word : words) {
            if (word.size() > 2 && key.contains(word)) {
                near << key;
                break;
            }
        }
    }
    QString message = QString("This camera has no control '%1'.").arg(name);
    if (!near.isEmpty())
        message += " Did you mean: " + near.join(", ") + "?";
    throw BadInput(message);
}

} // namespace Tarvello
