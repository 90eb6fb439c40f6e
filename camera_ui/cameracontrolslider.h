#pragma once

#include "cameracontrolbase.h"

#include <imageacquisition/icameracontrolnumeric.h>

class QLabel;
class QSlider;

namespace CameraUI {

// A writable integer control (32 or 64 bits) as a slider between its bounds,
// with the name and current value below. The slider works in 32 bits: a
// 64-bit control is put on it by its low 32 bits, without scaling.
class CameraControlSlider : public CameraControlBase
{
    Q_OBJECT

public:
    CameraControlSlider(ImageAcquisition::ICameraControlNumeric<int>& control, QWidget* parent);
    CameraControlSlider(ImageAcquisition::ICameraControlNumeric<long long>& control, QWidget* parent);
    ~CameraControlSlider() override;

    void buildUi(long long minimum, long long maximum, long long step, long long value);
    void setLabelValue(long long value);
    // The value as the control holds it, without asking the camera.
    long long controlValue() const;

    void updateState() override;
    ImageAcquisition::ICameraControl& control() const override;

protected slots:
    void sliderValueChanged();

private:
    ImageAcquisition::ICameraControl& m_control;
    QSlider* m_slider;
    QLabel* m_valueLabel;
};

} // namespace CameraUI
