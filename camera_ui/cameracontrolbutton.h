#pragma once

#include "cameracontrolbase.h"

#include <imageacquisition/icameracontrolbutton.h>

class QPushButton;

namespace CameraUI {

// An action control: a push button named after the control. Each press has
// the rows of the same family refreshed, since the action may change them.
class CameraControlButton : public CameraControlBase
{
    Q_OBJECT

public:
    CameraControlButton(ImageAcquisition::ICameraControlButton& control, QWidget* parent);
    ~CameraControlButton() override;

    void updateState() override;
    ImageAcquisition::ICameraControl& control() const override;

protected slots:
    void buttonClicked();

private:
    ImageAcquisition::ICameraControlButton& m_control;
    QPushButton* m_button;
};

} // namespace CameraUI
