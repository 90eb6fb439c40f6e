#include "cameracontrolroint.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>

#include <cstring>

namespace CameraUI {

namespace {
constexpr int kRoiPollInterval = 500;
const char* const kTemperatureName = "Temperature (C)";
} // namespace

CameraControlROInt::CameraControlROInt(ImageAcquisition::ICameraControlNumeric<int>& control, QWidget* parent)
    : CameraControlBase(parent), m_control(control), m_lineEdit(nullptr), m_timer(this)
{
    buildUi(controlString());
    connect(&m_timer, SIGNAL(timeout()), this, SLOT(updateSlot()));
    m_timer.setSingleShot(false);
    m_timer.start(kRoiPollInterval);
}

CameraControlROInt::~CameraControlROInt()
{
    m_timer.stop();
}

void CameraControlROInt::buildUi(QString const& value)
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(3, 3, 3, 3);

    auto* label = new QLabel(QString("%1 :").arg(controlName()), this);
    setLabelEffects(label);
    layout->addWidget(label);

    m_lineEdit = new QLineEdit(this);
    m_lineEdit->setText(value);
    m_lineEdit->setReadOnly(true);
    layout->addWidget(m_lineEdit);
}

QString CameraControlROInt::controlString() const
{
    // A null name is not the temperature's.
    const char* name = m_control.getName();
    const bool temperature = name && std::strcmp(name, kTemperatureName) == 0;
    const int value = m_control.getValue();
    if (temperature)
        return QString::number(value / 100.0, 'g', 6);
    return QString::number(value);
}

void CameraControlROInt::updateState()
{
    m_control.refresh();
    m_lineEdit->setText(controlString());
}

ImageAcquisition::ICameraControl& CameraControlROInt::control() const
{
    return m_control;
}

void CameraControlROInt::updateSlot()
{
    // Called from a timer: nothing above this could handle a failure of the
    // layer, so the field keeps the last value it showed.
    try {
        updateState();
    } catch (...) {
    }
}

} // namespace CameraUI
