#pragma once

#include "cameracontrolbase.h"

#include <imageacquisition/icameracontrolnumeric.h>

#include <QPushButton>
#include <QTimer>
#include <QVector>

class QCheckBox;
class QLabel;

namespace CameraUI {

// The camera's error status word as a panel of indicators, one per error bit,
// polled twice a second, with a button that clears the errors on the camera.
class CameraControlErrorCode : public CameraControlBase
{
    Q_OBJECT

public:
    enum ErrorCode : unsigned int
    {
        OverTemperature = 0x00000001,
        VideoDma = 0x00000002,
        Gpif = 0x00000004,
        ImageSensor = 0x00000008,
        DebugPrint = 0x00000010,
        InputOutput = 0x00000020,
        IoSupply = 0x00000040,
        Flash = 0x00000080,
        Usb = 0x00000100,
        UsbVideo = 0x00000200,
        UsbUart = 0x00000400,
        UsbBootloader = 0x00000800,
        Mipi = 0x00001000,
        LiquidLens = 0x00002000,
        Application = 0x00004000,
        AutoDiagnosis = 0x00008000,
        UsbNotConnected = 0x00010000,
        TriggerTimeout = 0x00020000,
        NotInFocus = 0x00040000,
        ErrorAll = 0xFFFFFFFF,
    };

    // One indicator: a check box the user cannot toggle, and its text.
    class SingleError
    {
    public:
        SingleError(ErrorCode code, QString const& text, QWidget* parent);
        ~SingleError();
        // Checked when every bit of the entry's mask is set in value.
        void setChecked(unsigned int value);

        ErrorCode m_code;
        QLabel* m_label;
        QCheckBox* m_checkBox;
    };

    CameraControlErrorCode(ImageAcquisition::ICameraControlNumeric<int>& control, QWidget* parent);
    ~CameraControlErrorCode() override;

    void buildUi();

    void updateState() override;
    ImageAcquisition::ICameraControl& control() const override;

public slots:
    void updateSlot();
    void clearErrors();

private:
    ImageAcquisition::ICameraControlNumeric<int>& m_control;
    QTimer m_timer;
    QPushButton m_clearButton;
    QVector<SingleError*> m_errors;
};

} // namespace CameraUI
