#include "settingsdialog.h"

#include "ui_settingsdialog.h"

#include "cameracontrolbutton.h"
#include "cameracontrolcheckbox.h"
#include "cameracontrolcombobox.h"
#include "cameracontrolerrorcode.h"
#include "cameracontrollineedit.h"
#include "cameracontrolroint.h"
#include "cameracontrolslider.h"
#include "cameracontroltrigger.h"

#include <imageacquisition/icamera.h>

#include <QBrush>
#include <QLabel>
#include <QPixmap>
#include <QTimer>
#include <QVBoxLayout>

#include <cstring>

using namespace ImageAcquisition;

namespace CameraUI {

namespace {

constexpr int kPageHeight = 500;
constexpr int kPageStretch = 1000;
constexpr int kPageMargin = 6;
const QSize kBackgroundSize(800, 600);

bool hasName(const ICameraControl& control, const char* name)
{
    const char* own = control.getName();
    return own && std::strcmp(own, name) == 0;
}

// The row for a control that offers the interface T, or null when the layer
// handed out a control that does not implement what its type code names.
template <typename Row, typename T>
Row* rowFor(ICameraControl& control, QWidget* parent)
{
    T* typed = dynamic_cast<T*>(&control);
    return typed ? new Row(*typed, parent) : nullptr;
}

} // namespace

SettingsDialog::SettingsDialog(ICamera* camera, QWidget* parent)
    : QDialog(parent), ui(new Ui_SettingsDialog), m_controlsReleased(false)
{
    ui->setupUi(this);
    // Finishing is the last moment the controls are known to be alive: the
    // main window closes the dialog and then at once replaces the camera,
    // while the modal loop may still deliver a poll before exec() returns.
    connect(this, SIGNAL(finished(int)), this, SLOT(releaseControls()));
    setupControlUi(camera);
}

SettingsDialog::~SettingsDialog()
{
    delete ui;
}

QWidget* SettingsDialog::createControlWidget(ICameraControl& control)
{
    QWidget* row = nullptr;
    try {
        row = createRow(control);
    } catch (...) {
        // A control that cannot be read while its row is built is shown like
        // a kind without a row rather than failing the whole dialog.
        row = nullptr;
    }
    if (auto* controlRow = qobject_cast<CameraControlBase*>(row)) {
        m_controls.append(controlRow);
        connect(controlRow, SIGNAL(updateFamily(ImageAcquisition::ICameraControl::Family)), this,
                SLOT(updateFamilySlot(ImageAcquisition::ICameraControl::Family)));
        return controlRow;
    }
    return new QLabel(QString::fromUtf8(control.getDescription()), this);
}

QWidget* SettingsDialog::createRow(ICameraControl& control)
{
    using Int = ICameraControlNumeric<int>;
    using Int64 = ICameraControlNumeric<long long>;

    if (hasName(control, "Error Status"))
        return rowFor<CameraControlErrorCode, Int>(control, this);
    if (hasName(control, "Trigger Auto Controls") || hasName(control, "Lock Auto Controls"))
        return rowFor<CameraControlTrigger, Int>(control, this);

    switch (control.getType()) {
    case ICameraControl::TypeBoolean:
        return rowFor<CameraControlCheckBox, ICameraControlBoolean>(control, this);
    case ICameraControl::TypeButton:
        return rowFor<CameraControlButton, ICameraControlButton>(control, this);
    case ICameraControl::TypeInteger:
        if (control.isReadOnly())
            return rowFor<CameraControlROInt, Int>(control, this);
        return rowFor<CameraControlSlider, Int>(control, this);
    case ICameraControl::TypeInteger64:
        return rowFor<CameraControlSlider, Int64>(control, this);
    case ICameraControl::TypeIntegerMenu:
        return rowFor<CameraControlComboBox, ICameraControlInt64Menu>(control, this);
    case ICameraControl::TypeString:
        return rowFor<CameraControlLineEdit, ICameraControlString>(control, this);
    case ICameraControl::TypeMenu:
        return rowFor<CameraControlComboBox, ICameraControlStringMenu>(control, this);
    default:
        return nullptr;
    }
}

QVBoxLayout* SettingsDialog::pageLayout(QWidget* page)
{
    return static_cast<QVBoxLayout*>(page->layout());
}

QWidget* SettingsDialog::createPage()
{
    auto* page = new QWidget;
    page->setAutoFillBackground(true);
    page->setPalette(m_palette);
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(kPageMargin, kPageMargin, kPageMargin, kPageMargin);
    return page;
}

void SettingsDialog::setupControlUi(ICamera* camera)
{
    const int count = camera ? camera->getControlCount() : 0;
    if (count < 1)
        return;

    QWidget* page = createPage();
    int pageNumber = 1;
    QString title = QString("Page %1").arg(pageNumber);
    int height = 0;

    for (int i = 0; i < count; ++i) {
        ICameraControl* control = camera->getControl(i);
        if (!control)
            continue;
        QWidget* row = createControlWidget(*control);
        height += row->sizeHint().height();
        if (height > kPageHeight) {
            height = row->sizeHint().height();
            pageLayout(page)->addStretch(kPageStretch);
            ui->tabWidget->insertTab(pageNumber - 1, page, title);
            page = createPage();
            ++pageNumber;
            title = QString("Page %1").arg(pageNumber);
        }
        // The control's index as stretch factor: spare height on a page goes
        // mostly to its later rows and to the closing stretch.
        pageLayout(page)->addWidget(row, i);
    }

    pageLayout(page)->addStretch(kPageStretch);
    ui->tabWidget->insertTab(pageNumber - 1, page, title);
}

void SettingsDialog::updateBackground(QImage image)
{
    // A frame that could not be converted keeps the last picture.
    if (image.isNull())
        return;
    const QPixmap picture = QPixmap::fromImage(image).scaled(kBackgroundSize, Qt::KeepAspectRatio,
                                                              Qt::FastTransformation);
    m_palette.setBrush(QPalette::All, QPalette::Window, QBrush(picture));
    if (QWidget* page = ui->tabWidget->currentWidget())
        page->setPalette(m_palette);
}

void SettingsDialog::updateFamilySlot(ICameraControl::Family family)
{
    if (m_controlsReleased)
        return;
    for (CameraControlBase* row : qAsConst(m_controls)) {
        // One row failing to refresh must not keep the others stale.
        try {
            if (row->family() == family)
                row->updateState();
        } catch (...) {
        }
    }
}

void SettingsDialog::releaseControls()
{
    m_controlsReleased = true;
    // The polling rows drive their refreshes with timers of their own.
    for (CameraControlBase* row : qAsConst(m_controls)) {
        for (QTimer* timer : row->findChildren<QTimer*>(QString(), Qt::FindDirectChildrenOnly))
            timer->stop();
    }
}

} // namespace CameraUI
