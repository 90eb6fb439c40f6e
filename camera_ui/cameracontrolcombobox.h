#pragma once

#include "cameracontrolbase.h"

#include <imageacquisition/icameracontrolint64menu.h>
#include <imageacquisition/icameracontrolstringmenu.h>

#include <functional>

class QComboBox;

namespace CameraUI {

// A menu control, of texts or of 64-bit integers: picking an entry writes it
// at once and has the rows of the same family refreshed.
class CameraControlComboBox : public CameraControlBase
{
    Q_OBJECT

public:
    CameraControlComboBox(ImageAcquisition::ICameraControlStringMenu& control, QWidget* parent);
    CameraControlComboBox(ImageAcquisition::ICameraControlInt64Menu& control, QWidget* parent);
    ~CameraControlComboBox() override;

    void updateState() override;
    ImageAcquisition::ICameraControl& control() const override;

protected slots:
    void comboIndexChanged(int index);

private:
    // The two kinds of menu differ only in how an entry reads.
    void buildUi(std::function<QString(int)> const& entryText);

    ImageAcquisition::ICameraControlBaseMenu& m_control;
    QComboBox* m_comboBox;
};

} // namespace CameraUI
