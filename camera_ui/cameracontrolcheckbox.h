#pragma once

#include "cameracontrolbase.h"

#include <imageacquisition/icameracontrolboolean.h>

class QCheckBox;

namespace CameraUI {

// An on/off control: a click writes at once and has the rows of the same
// family refreshed.
class CameraControlCheckBox : public CameraControlBase
{
    Q_OBJECT

public:
    CameraControlCheckBox(ImageAcquisition::ICameraControlBoolean& control, QWidget* parent);
    ~CameraControlCheckBox() override;

    void updateState() override;
    ImageAcquisition::ICameraControl& control() const override;

protected slots:
    void checkBoxClicked(bool checked);

private:
    ImageAcquisition::ICameraControlBoolean& m_control;
    QCheckBox* m_checkBox;
};

} // namespace CameraUI
