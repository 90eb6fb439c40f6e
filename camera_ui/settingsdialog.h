#pragma once

#include <imageacquisition/icameracontrol.h>

#include <QDialog>
#include <QImage>
#include <QPalette>
#include <QVector>

class QVBoxLayout;
class Ui_SettingsDialog;

namespace ImageAcquisition {
class ICamera;
}

namespace CameraUI {

class CameraControlBase;

// The camera's settings, one row per control, on numbered pages with the
// live picture behind them. Rows of one family are refreshed together when
// the user changes one of them.
//
// The dialog is made for one modal run: the camera, and so every control, is
// only guaranteed while it runs. Once it has finished, no row reaches its
// control again, because the main window may replace the camera before the
// dialog is destroyed.
class SettingsDialog : public QDialog
{
    Q_OBJECT

public:
    // The camera is used only here and not kept; its controls must outlive
    // the dialog's run.
    SettingsDialog(ImageAcquisition::ICamera* camera, QWidget* parent);
    ~SettingsDialog() override;

    // A row for the control, or a plain label with its description for a
    // kind that has none.
    QWidget* createControlWidget(ImageAcquisition::ICameraControl& control);
    void setupControlUi(ImageAcquisition::ICamera* camera);

public slots:
    void updateBackground(QImage image);

protected slots:
    void updateFamilySlot(ImageAcquisition::ICameraControl::Family family);

private slots:
    void releaseControls();

private:
    QWidget* createRow(ImageAcquisition::ICameraControl& control);
    QWidget* createPage();
    static QVBoxLayout* pageLayout(QWidget* page);

    Ui_SettingsDialog* ui;
    QVector<CameraControlBase*> m_controls;
    QPalette m_palette;
    bool m_controlsReleased;
};

} // namespace CameraUI
