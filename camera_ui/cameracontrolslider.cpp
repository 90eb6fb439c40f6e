#include "cameracontrolslider.h"

#include "customstyle.h"

#include <assertfailureexception.h>

#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QSlider>
#include <QVBoxLayout>

using ImageAcquisition::ICameraControl;
using ImageAcquisition::ICameraControlNumeric;

namespace CameraUI {

namespace {

// Keeps the low 32 bits, two's complement, as the slider cannot hold more.
int narrow(long long value)
{
    return static_cast<int>(static_cast<unsigned int>(static_cast<unsigned long long>(value)));
}

} // namespace

CameraControlSlider::CameraControlSlider(ICameraControlNumeric<int>& control, QWidget* parent)
    : CameraControlBase(parent), m_control(control), m_slider(nullptr), m_valueLabel(nullptr)
{
    buildUi(control.getMinimum(), control.getMaximum(), control.getStep(), control.getValue());
}

CameraControlSlider::CameraControlSlider(ICameraControlNumeric<long long>& control, QWidget* parent)
    : CameraControlBase(parent), m_control(control), m_slider(nullptr), m_valueLabel(nullptr)
{
    buildUi(control.getMinimum(), control.getMaximum(), control.getStep(), control.getValue());
}

CameraControlSlider::~CameraControlSlider() = default;

void CameraControlSlider::buildUi(long long minimum, long long maximum, long long step, long long value)
{
    auto* rowLayout = new QVBoxLayout(this);
    rowLayout->setContentsMargins(3, 3, 3, 3);

    auto* inner = new QWidget(this);
    auto* innerLayout = new QHBoxLayout(inner);
    innerLayout->setContentsMargins(0, 0, 0, 0);
    inner->setSizePolicy(QSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed));

    m_slider = new QSlider(inner);
    m_slider->setOrientation(Qt::Horizontal);
    m_slider->setMinimum(narrow(minimum));
    m_slider->setMaximum(narrow(maximum));
    m_slider->setValue(narrow(value));
    m_slider->setSingleStep(narrow(step));

    // The slider does not take ownership of its style. The row does: the style
    // is created after the inner widget, so the row deletes the slider first
    // and the slider never sees its style gone.
    auto* style = new CustomStyle;
    style->setParent(this);
    m_slider->setStyle(style);
    m_slider->setMinimumHeight(60);

    applyEditability(m_slider);

    auto* minimumLabel = new QLabel(QString::number(minimum), inner);
    auto* maximumLabel = new QLabel(QString::number(maximum), inner);
    setLabelEffects(minimumLabel);
    setLabelEffects(maximumLabel);

    innerLayout->addWidget(minimumLabel);
    innerLayout->addWidget(m_slider);
    innerLayout->addWidget(maximumLabel);
    rowLayout->addWidget(inner);

    m_valueLabel = new QLabel(this);
    m_valueLabel->setAlignment(Qt::AlignCenter);
    setLabelValue(value);
    setLabelEffects(m_valueLabel);
    rowLayout->addWidget(m_valueLabel);

    connect(m_slider, SIGNAL(valueChanged(int)), this, SLOT(sliderValueChanged()));
}

void CameraControlSlider::setLabelValue(long long value)
{
    if (!m_valueLabel)
        return;
    m_valueLabel->setText(QString("%1: %2").arg(controlName()).arg(value));
}

long long CameraControlSlider::controlValue() const
{
    switch (m_control.getType()) {
    case ICameraControl::TypeInteger:
        if (auto* numeric = dynamic_cast<ICameraControlNumeric<int>*>(&m_control))
            return numeric->getValue();
        break;
    case ICameraControl::TypeInteger64:
        if (auto* numeric = dynamic_cast<ICameraControlNumeric<long long>*>(&m_control))
            return numeric->getValue();
        break;
    default:
        break;
    }
    return 0;
}

void CameraControlSlider::updateState()
{
    m_control.refresh();
    applyEditability(m_slider);
    // Showing the camera's value must not write it back.
    const QSignalBlocker blocker(m_slider);
    const int value = narrow(controlValue());
    if (value != m_slider->value()) {
        m_slider->setValue(value);
        setLabelValue(value);
    }
}

ICameraControl& CameraControlSlider::control() const
{
    return m_control;
}

void CameraControlSlider::sliderValueChanged()
{
    const int position = m_slider->value();
    try {
        if (m_control.getType() == ICameraControl::TypeInteger) {
            if (auto* numeric = dynamic_cast<ICameraControlNumeric<int>*>(&m_control))
                numeric->setValue(position);
        } else if (m_control.getType() == ICameraControl::TypeInteger64) {
            if (auto* numeric = dynamic_cast<ICameraControlNumeric<long long>*>(&m_control))
                numeric->setValue(position);
        }
        setLabelValue(position);
    } catch (const AssertFailureException&) {
        // Refused by the camera: the label keeps the last value it showed
        // until a refresh brings the camera's value back.
    }
}

} // namespace CameraUI
