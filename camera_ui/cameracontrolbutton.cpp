#include "cameracontrolbutton.h"

#include <assertfailureexception.h>

#include <QHBoxLayout>
#include <QPushButton>

namespace CameraUI {

CameraControlButton::CameraControlButton(ImageAcquisition::ICameraControlButton& control, QWidget* parent)
    : CameraControlBase(parent), m_control(control), m_button(nullptr)
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(3, 3, 3, 3);

    m_button = new QPushButton(controlName(), this);
    applyEditability(m_button);
    layout->addWidget(m_button);

    connect(m_button, SIGNAL(clicked(bool)), this, SLOT(buttonClicked()));
}

CameraControlButton::~CameraControlButton() = default;

void CameraControlButton::updateState()
{
    m_control.refresh();
    applyEditability(m_button);
}

ImageAcquisition::ICameraControl& CameraControlButton::control() const
{
    return m_control;
}

void CameraControlButton::buttonClicked()
{
    try {
        m_control.press();
    } catch (const AssertFailureException&) {
        // Refused by the camera; the family refresh below shows the outcome.
    }
    emit updateFamily(m_control.getFamily());
}

} // namespace CameraUI
