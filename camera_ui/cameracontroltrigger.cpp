#include "cameracontroltrigger.h"

#include <assertfailureexception.h>

#include <QCheckBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace CameraUI {

namespace {

constexpr int kLastTriggerPairColumn = 8;

struct TriggerEntry
{
    CameraControlTrigger::TriggerCode code;
    const char* text;
};

const TriggerEntry kTriggerEntries[] = {
    {CameraControlTrigger::Exposure, "Exposure"},
    {CameraControlTrigger::Focus, "Focus"},
    {CameraControlTrigger::WhiteBalance, "White Balance"},
};

} // namespace

CameraControlTrigger::SingleTrigger::SingleTrigger(TriggerCode code, QString const& text, QWidget* parent)
    : m_code(code), m_label(new QLabel(parent)), m_checkBox(new QCheckBox(parent))
{
    m_label->setText(text);
}

CameraControlTrigger::SingleTrigger::~SingleTrigger() = default;

void CameraControlTrigger::SingleTrigger::setChecked(unsigned int value)
{
    m_checkBox->setChecked((value & m_code) == m_code);
}

bool CameraControlTrigger::SingleTrigger::isChecked() const
{
    return m_checkBox->isChecked();
}

CameraControlTrigger::CameraControlTrigger(ImageAcquisition::ICameraControlNumeric<int>& control, QWidget* parent)
    : CameraControlBase(parent), m_control(control), m_sendButton()
{
    for (const TriggerEntry& entry : kTriggerEntries)
        m_triggers.append(new SingleTrigger(entry.code, entry.text, this));
    buildUi();
}

CameraControlTrigger::~CameraControlTrigger()
{
    qDeleteAll(m_triggers);
}

void CameraControlTrigger::buildUi()
{
    auto* panelLayout = new QVBoxLayout(this);
    auto* grid = new QGridLayout;
    panelLayout->addLayout(grid);

    int row = 0;
    int column = 0;
    for (SingleTrigger* trigger : qAsConst(m_triggers)) {
        grid->addWidget(trigger->m_checkBox, row, column);
        grid->addWidget(trigger->m_label, row, column + 1);
        setLabelEffects(trigger->m_label);
        column += 2;
        if (column > kLastTriggerPairColumn) {
            ++row;
            column = 0;
        }
    }
    // Keeps the pairs packed to the left of the row.
    if (column != kLastTriggerPairColumn) {
        auto* filler = new QWidget(this);
        filler->setSizePolicy(QSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed));
        grid->addWidget(filler, row, column);
    }

    auto* buttonLayout = new QHBoxLayout;
    panelLayout->addLayout(buttonLayout);
    m_sendButton.setText(controlName());
    buttonLayout->addWidget(&m_sendButton, 0, Qt::AlignRight);
    connect(&m_sendButton, SIGNAL(clicked(bool)), this, SLOT(sendTriggers()));
}

void CameraControlTrigger::updateState()
{
    m_control.refresh();
    const auto value = static_cast<unsigned int>(m_control.getValue());
    for (SingleTrigger* trigger : qAsConst(m_triggers))
        trigger->setChecked(value);
}

ImageAcquisition::ICameraControl& CameraControlTrigger::control() const
{
    return m_control;
}

void CameraControlTrigger::sendTriggers()
{
    unsigned int mask = 0;
    for (const SingleTrigger* trigger : qAsConst(m_triggers)) {
        if (trigger->isChecked())
            mask |= trigger->m_code;
    }
    try {
        m_control.setValue(static_cast<int>(mask));
    } catch (const AssertFailureException&) {
        // Refused by the camera: the boxes keep the user's choice for another try.
        return;
    }
    for (SingleTrigger* trigger : qAsConst(m_triggers))
        trigger->setChecked(0);
}

} // namespace CameraUI
