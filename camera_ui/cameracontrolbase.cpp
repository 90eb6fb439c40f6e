#include "cameracontrolbase.h"

#include <QGraphicsDropShadowEffect>
#include <QLabel>

namespace CameraUI {

CameraControlBase::CameraControlBase(QWidget* parent) : QFrame(parent)
{
    setFrameStyle(QFrame::Box | QFrame::Sunken);
}

ImageAcquisition::ICameraControl::Family CameraControlBase::family() const
{
    return control().getFamily();
}

void CameraControlBase::setLabelEffects(QLabel* label)
{
    // The label takes ownership once the effect is installed; parenting it to
    // the row as well keeps it accounted for should installing ever fail.
    auto* shadow = new QGraphicsDropShadowEffect(this);
    shadow->setColor(Qt::black);
    shadow->setBlurRadius(2.0);
    shadow->setOffset(QPointF(1.5, 1.5));
    label->setStyleSheet("QLabel { color : white;}");
    label->setGraphicsEffect(shadow);
}

void CameraControlBase::applyEditability(QWidget* input) const
{
    // The layer may answer the flags from the camera; the order is fixed and
    // asking stops at the first flag that holds.
    const ImageAcquisition::ICameraControl& c = control();
    const bool locked = c.isDisabled() || c.isInactive() || c.isGrabbed() || c.isReadOnly();
    input->setEnabled(!locked);
}

QString CameraControlBase::controlName() const
{
    return QString::fromUtf8(control().getName());
}

} // namespace CameraUI
