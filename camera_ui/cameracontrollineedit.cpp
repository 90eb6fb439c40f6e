#include "cameracontrollineedit.h"

#include <assertfailureexception.h>

#include <QByteArray>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QToolButton>

#include <algorithm>
#include <climits>
#include <cstring>
#include <vector>

namespace CameraUI {

namespace {
const char* const kIdleIcon = ":/icons/refresh.png";
const char* const kPendingIcon = ":/icons/refresh required.png";
} // namespace

CameraControlLineEdit::CameraControlLineEdit(ImageAcquisition::ICameraControlString& control, QWidget* parent)
    : CameraControlBase(parent), m_control(control), m_lineEdit(nullptr), m_commitButton(nullptr)
{
    buildUi(controlString());
}

CameraControlLineEdit::~CameraControlLineEdit() = default;

QString CameraControlLineEdit::controlString() const
{
    // A negative length from the layer is read as an empty value.
    const int length = std::max(0, m_control.getLength());
    const int size = length < INT_MAX ? length + 1 : INT_MAX;
    std::vector<char> buffer(static_cast<size_t>(size), '\0');
    m_control.getValue(buffer.data(), size);
    // The layer need not terminate the copy: read no further than the buffer.
    const void* nul = std::memchr(buffer.data(), '\0', buffer.size());
    const int used = nul ? int(static_cast<const char*>(nul) - buffer.data()) : size;
    return QString::fromUtf8(buffer.data(), used);
}

void CameraControlLineEdit::buildUi(QString const& text)
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(3, 3, 3, 3);

    auto* label = new QLabel(QString("%1 :").arg(controlName()), this);
    setLabelEffects(label);
    layout->addWidget(label);

    m_lineEdit = new QLineEdit(text, this);
    applyEditability(m_lineEdit);
    m_lineEdit->setMaxLength(m_control.getMaxLength());
    layout->addWidget(m_lineEdit);

    m_commitButton = new QToolButton(this);
    m_commitButton->setEnabled(false);
    m_commitButton->setIcon(QIcon(kIdleIcon));
    layout->addWidget(m_commitButton);

    connect(m_lineEdit, SIGNAL(textChanged(QString)), this, SLOT(textChanged()));
    connect(m_commitButton, SIGNAL(clicked(bool)), this, SLOT(commitSlot()));
}

void CameraControlLineEdit::updateState()
{
    m_control.refresh();
    applyEditability(m_lineEdit);
    // The camera's value replaces the text; a pending commit stays pending.
    const QSignalBlocker blocker(m_lineEdit);
    m_lineEdit->setText(controlString());
}

ImageAcquisition::ICameraControl& CameraControlLineEdit::control() const
{
    return m_control;
}

void CameraControlLineEdit::textChanged()
{
    // The limits are compared with the length in characters, while the value
    // travels in the local 8-bit encoding; the two agree for ASCII only.
    const int length = m_lineEdit->text().length();
    const bool acceptable = m_control.getMinLength() <= length && m_control.getMaxLength() >= length;
    m_commitButton->setIcon(QIcon(acceptable ? kPendingIcon : kIdleIcon));
    m_commitButton->setEnabled(acceptable);
}

void CameraControlLineEdit::commitSlot()
{
    const QByteArray value = m_lineEdit->text().toLocal8Bit();
    try {
        m_control.setValue(value.constData());
    } catch (const AssertFailureException&) {
        // Refused by the camera; the next refresh shows what it kept.
    }
    m_commitButton->setIcon(QIcon(kIdleIcon));
    m_commitButton->setEnabled(false);
}

} // namespace CameraUI
