#pragma once

#include <QDialog>
#include <QString>

class Ui_CameraInfoDialog;

namespace ImageAcquisition {
class IDevice;
}

namespace CameraUI {

// The identification and capabilities of one camera device, as a read-only
// two-column table filled once when the dialog is built.
class CameraInfoDialog : public QDialog
{
    Q_OBJECT

public:
    // The device is read here and not kept.
    CameraInfoDialog(ImageAcquisition::IDevice const* device, QWidget* parent);
    ~CameraInfoDialog() override;

    void updateTableViewInfo(ImageAcquisition::IDevice const* device);
    void setRow(int row, QString label, QString value);
    void setRow(int row, QString label, bool value);
    void setRow(int row, QString label, char const* value);

private:
    Ui_CameraInfoDialog* ui;
};

} // namespace CameraUI
