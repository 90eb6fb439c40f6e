#pragma once

#include <imageacquisition/icameracontrol.h>

#include <QFrame>
#include <QString>

class QLabel;

namespace CameraUI {

// One row of the settings dialog, bound to one camera control. Rows are drawn
// as sunken boxes over the live picture; their labels are white with a shadow
// so that they stay readable on any picture.
class CameraControlBase : public QFrame
{
    Q_OBJECT

public:
    explicit CameraControlBase(QWidget* parent);

    // Refreshes the control from the camera and shows what it now holds.
    virtual void updateState() = 0;
    // The control shown; it belongs to the camera layer and outlives the row.
    virtual ImageAcquisition::ICameraControl& control() const = 0;

    // Asked of the control every time: the layer may move a control to
    // another family while the dialog is open.
    ImageAcquisition::ICameraControl::Family family() const;

    void setLabelEffects(QLabel* label);

signals:
    // The user changed the control; the rows of this family need a refresh.
    // The parameter is spelt out in full because the dialog connects by the
    // signature text.
    void updateFamily(ImageAcquisition::ICameraControl::Family family);

protected:
    // Enables the input widget exactly when the control may be changed now.
    void applyEditability(QWidget* input) const;
    // The control's name; a null name from the layer reads as empty.
    QString controlName() const;
};

} // namespace CameraUI
