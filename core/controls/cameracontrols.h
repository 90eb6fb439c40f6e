#pragma once

#include "controldescription.h"

#include <QString>
#include <QVector>

namespace ImageAcquisition {
class ICamera;
class ICameraControl;
}

namespace Tarvello {

// The controls of an open camera, found by name. A control is named by its
// full name or its key, in any case ("Exposure, Auto" or exposure_auto).
class CameraControls
{
public:
    explicit CameraControls(ImageAcquisition::ICamera& camera);

    // Every control, re-read from the camera first.
    QVector<ImageAcquisition::ICameraControl*> all() const;
    QVector<ControlDescription> describeAll() const;
    // Throws BadInput for a name no control has, suggesting the near ones.
    ImageAcquisition::ICameraControl& find(const QString& name) const;
    // Null when there is no such control.
    ImageAcquisition::ICameraControl* lookup(const QString& name) const;

private:
    ImageAcquisition::ICamera& m_camera;
};

} // namespace Tarvello
