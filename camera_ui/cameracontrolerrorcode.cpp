#include "cameracontrolerrorcode.h"

#include <assertfailureexception.h>

#include <QCheckBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace CameraUI {

namespace {

constexpr int kErrorPollInterval = 500;
constexpr int kLastErrorPairColumn = 8;

struct ErrorEntry
{
    CameraControlErrorCode::ErrorCode code;
    const char* text;
};

const ErrorEntry kErrorEntries[] = {
    {CameraControlErrorCode::OverTemperature, "Over Temperature"},
    {CameraControlErrorCode::VideoDma, "Video DMA"},
    {CameraControlErrorCode::Gpif, "GPIF"},
    {CameraControlErrorCode::ImageSensor, "Image Sensor"},
    {CameraControlErrorCode::DebugPrint, "Debug Print"},
    {CameraControlErrorCode::InputOutput, "I/O"},
    {CameraControlErrorCode::IoSupply, "IO Supply"},
    {CameraControlErrorCode::Flash, "Flash"},
    {CameraControlErrorCode::Usb, "USB"},
    {CameraControlErrorCode::UsbVideo, "USB Video"},
    {CameraControlErrorCode::UsbUart, "USB UART"},
    {CameraControlErrorCode::UsbBootloader, "USB Bootloader"},
    {CameraControlErrorCode::Mipi, "MIPI"},
    {CameraControlErrorCode::LiquidLens, "Liquid Lens"},
    {CameraControlErrorCode::Application, "Application"},
    {CameraControlErrorCode::AutoDiagnosis, "Auto Diagnosis"},
    {CameraControlErrorCode::UsbNotConnected, "USB Not Connected"},
    {CameraControlErrorCode::TriggerTimeout, "Trigger timeout"},
    {CameraControlErrorCode::NotInFocus, "Not in focus"},
    {CameraControlErrorCode::ErrorAll, "Error All"},
};

} // namespace

CameraControlErrorCode::SingleError::SingleError(ErrorCode code, QString const& text, QWidget* parent)
    : m_code(code), m_label(new QLabel(parent)), m_checkBox(new QCheckBox(parent))
{
    m_label->setText(text);
    // An indicator only: the camera sets it, the user cannot.
    m_checkBox->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_checkBox->setFocusPolicy(Qt::NoFocus);
}

CameraControlErrorCode::SingleError::~SingleError() = default;

void CameraControlErrorCode::SingleError::setChecked(unsigned int value)
{
    m_checkBox->setChecked((value & m_code) == m_code);
}

CameraControlErrorCode::CameraControlErrorCode(ImageAcquisition::ICameraControlNumeric<int>& control,
                                               QWidget* parent)
    : CameraControlBase(parent), m_control(control), m_timer(this), m_clearButton()
{
    for (const ErrorEntry& entry : kErrorEntries)
        m_errors.append(new SingleError(entry.code, entry.text, this));
    buildUi();
    connect(&m_timer, SIGNAL(timeout()), this, SLOT(updateSlot()));
    m_timer.setSingleShot(false);
    m_timer.start(kErrorPollInterval);
}

CameraControlErrorCode::~CameraControlErrorCode()
{
    m_timer.stop();
    qDeleteAll(m_errors);
}

void CameraControlErrorCode::buildUi()
{
    auto* panelLayout = new QVBoxLayout(this);
    auto* grid = new QGridLayout;
    panelLayout->addLayout(grid);

    int row = 0;
    int column = 0;
    for (SingleError* error : qAsConst(m_errors)) {
        grid->addWidget(error->m_checkBox, row, column);
        grid->addWidget(error->m_label, row, column + 1);
        setLabelEffects(error->m_label);
        column += 2;
        if (column > kLastErrorPairColumn) {
            ++row;
            column = 0;
        }
    }

    auto* buttonLayout = new QHBoxLayout;
    panelLayout->addLayout(buttonLayout);
    m_clearButton.setText("Clear Errors");
    buttonLayout->addWidget(&m_clearButton, 0, Qt::AlignRight);
    connect(&m_clearButton, SIGNAL(clicked(bool)), this, SLOT(clearErrors()));

    // Through the polling slot, so that a camera that cannot be read yet
    // leaves the panel blank instead of failing the whole dialog.
    updateSlot();
}

void CameraControlErrorCode::updateState()
{
    m_control.refresh();
    const auto word = static_cast<unsigned int>(m_control.getValue());
    for (SingleError* error : qAsConst(m_errors))
        error->setChecked(word);
}

ImageAcquisition::ICameraControl& CameraControlErrorCode::control() const
{
    return m_control;
}

void CameraControlErrorCode::updateSlot()
{
    // Called from a timer: nothing above this could handle a failure of the
    // layer, so the boxes keep what they showed.
    try {
        updateState();
    } catch (...) {
    }
}

void CameraControlErrorCode::clearErrors()
{
    try {
        m_control.setValue(-1);
    } catch (const AssertFailureException&) {
        // Refused by the camera; the next poll shows the errors still set.
    }
}

} // namespace CameraUI
