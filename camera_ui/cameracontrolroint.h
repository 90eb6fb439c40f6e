#pragma once

#include "cameracontrolbase.h"

#include <imageacquisition/icameracontrolnumeric.h>

#include <QTimer>

class QLineEdit;

namespace CameraUI {

// A read-only integer control, such as the sensor temperature, shown in a
// read-only field and polled twice a second while the row lives.
class CameraControlROInt : public CameraControlBase
{
    Q_OBJECT

public:
    CameraControlROInt(ImageAcquisition::ICameraControlNumeric<int>& control, QWidget* parent);
    ~CameraControlROInt() override;

    void buildUi(QString const& value);
    // The value as the control holds it, as display text, without asking the
    // camera. The temperature comes in hundredths of a degree.
    QString controlString() const;

    void updateState() override;
    ImageAcquisition::ICameraControl& control() const override;

public slots:
    void updateSlot();

private:
    ImageAcquisition::ICameraControlNumeric<int>& m_control;
    QLineEdit* m_lineEdit;
    QTimer m_timer;
};

} // namespace CameraUI
