#include "cameracontrolcombobox.h"

#include <assertfailureexception.h>

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>

using ImageAcquisition::ICameraControlInt64Menu;
using ImageAcquisition::ICameraControlStringMenu;

namespace CameraUI {

CameraControlComboBox::CameraControlComboBox(ICameraControlStringMenu& control, QWidget* parent)
    : CameraControlBase(parent), m_control(control), m_comboBox(nullptr)
{
    buildUi([&control](int index) { return QString::fromUtf8(control.getEntry(index)); });
}

CameraControlComboBox::CameraControlComboBox(ICameraControlInt64Menu& control, QWidget* parent)
    : CameraControlBase(parent), m_control(control), m_comboBox(nullptr)
{
    buildUi([&control](int index) { return QString::number(control.getEntry(index)); });
}

CameraControlComboBox::~CameraControlComboBox() = default;

void CameraControlComboBox::buildUi(std::function<QString(int)> const& entryText)
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(3, 3, 3, 3);

    auto* label = new QLabel(QString("%1: ").arg(controlName()), this);
    label->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    label->setSizePolicy(QSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed));
    setLabelEffects(label);
    layout->addWidget(label);

    m_comboBox = new QComboBox(this);
    for (int i = 0; i < m_control.getEntryCount(); ++i)
        m_comboBox->addItem(entryText(i));
    m_comboBox->setCurrentIndex(m_control.getIndex());
    applyEditability(m_comboBox);
    layout->addWidget(m_comboBox);

    connect(m_comboBox, SIGNAL(currentIndexChanged(int)), this, SLOT(comboIndexChanged(int)));
}

void CameraControlComboBox::updateState()
{
    m_control.refresh();
    applyEditability(m_comboBox);
}

ImageAcquisition::ICameraControl& CameraControlComboBox::control() const
{
    return m_control;
}

void CameraControlComboBox::comboIndexChanged(int index)
{
    try {
        m_control.setIndex(index);
    } catch (const AssertFailureException&) {
        // Refused by the camera; the combo box keeps the user's pick.
    }
    emit updateFamily(m_control.getFamily());
}

} // namespace CameraUI
