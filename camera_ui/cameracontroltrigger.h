#pragma once

#include "cameracontrolbase.h"

#include <imageacquisition/icameracontrolnumeric.h>

#include <QPushButton>
#include <QVector>

class QCheckBox;
class QLabel;

namespace CameraUI {

// Triggers or locks the camera's automatic adjustments: the user checks the
// ones wanted and sends them as one bit mask with the button, which carries
// the control's name.
class CameraControlTrigger : public CameraControlBase
{
    Q_OBJECT

public:
    enum TriggerCode : unsigned int
    {
        Exposure = 0x1,
        Focus = 0x2,
        WhiteBalance = 0x4,
    };

    // One choice: a check box and its text.
    class SingleTrigger
    {
    public:
        SingleTrigger(TriggerCode code, QString const& text, QWidget* parent);
        ~SingleTrigger();
        // Checked when every bit of the entry's mask is set in value.
        void setChecked(unsigned int value);
        bool isChecked() const;

        TriggerCode m_code;
        QLabel* m_label;
        QCheckBox* m_checkBox;
    };

    CameraControlTrigger(ImageAcquisition::ICameraControlNumeric<int>& control, QWidget* parent);
    ~CameraControlTrigger() override;

    void buildUi();

    void updateState() override;
    ImageAcquisition::ICameraControl& control() const override;

public slots:
    void sendTriggers();

private:
    ImageAcquisition::ICameraControlNumeric<int>& m_control;
    QPushButton m_sendButton;
    QVector<SingleTrigger*> m_triggers;
};

} // namespace CameraUI
