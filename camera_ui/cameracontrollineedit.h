#pragma once

#include "cameracontrolbase.h"

#include <imageacquisition/icameracontrolstring.h>

class QLineEdit;
class QToolButton;

namespace CameraUI {

// A text control: the user edits freely and commits with the button, which is
// enabled only while the text's length is within the control's limits.
class CameraControlLineEdit : public CameraControlBase
{
    Q_OBJECT

public:
    CameraControlLineEdit(ImageAcquisition::ICameraControlString& control, QWidget* parent);
    ~CameraControlLineEdit() override;

    // The value as the control holds it, without asking the camera.
    QString controlString() const;
    void buildUi(QString const& text);

    void updateState() override;
    ImageAcquisition::ICameraControl& control() const override;

protected slots:
    void textChanged();
    void commitSlot();

private:
    ImageAcquisition::ICameraControlString& m_control;
    QLineEdit* m_lineEdit;
    QToolButton* m_commitButton;
};

} // namespace CameraUI
