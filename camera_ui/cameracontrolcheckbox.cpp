#include "cameracontrolcheckbox.h"

#include <assertfailureexception.h>

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>

namespace CameraUI {

CameraControlCheckBox::CameraControlCheckBox(ImageAcquisition::ICameraControlBoolean& control, QWidget* parent)
    : CameraControlBase(parent), m_control(control), m_checkBox(nullptr)
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(3, 3, 3, 3);

    m_checkBox = new QCheckBox(this);
    m_checkBox->setChecked(m_control.getValue());
    applyEditability(m_checkBox);
    layout->addWidget(m_checkBox);

    auto* label = new QLabel(controlName(), this);
    setLabelEffects(label);
    layout->addWidget(label);

    // Keeps box and name at the left end of the row.
    auto* filler = new QWidget(this);
    filler->setSizePolicy(QSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding));
    layout->addWidget(filler);

    connect(m_checkBox, SIGNAL(clicked(bool)), this, SLOT(checkBoxClicked(bool)));
}

CameraControlCheckBox::~CameraControlCheckBox() = default;

void CameraControlCheckBox::updateState()
{
    m_control.refresh();
    applyEditability(m_checkBox);
}

ImageAcquisition::ICameraControl& CameraControlCheckBox::control() const
{
    return m_control;
}

void CameraControlCheckBox::checkBoxClicked(bool checked)
{
    try {
        m_control.setValue(checked);
    } catch (const AssertFailureException&) {
        // Refused by the camera; the box keeps the user's click.
    }
    emit updateFamily(m_control.getFamily());
}

} // namespace CameraUI
