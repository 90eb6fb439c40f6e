// The settings dialog over the virtual camera, end to end: a row for every
// control, writes that change the picture, families kept consistent.
// Built only where the settings dialog exists (see CMakeLists.txt).
#include "apptesting.h"

#include <QCheckBox>
#include <QDialog>
#include <QSlider>

using namespace ImageAcquisition;
using namespace VirtualCameraTesting;

namespace {

double meanLevel(const QImage& picture)
{
    const QImage grey = picture.convertToFormat(QImage::Format_Grayscale8);
    double sum = 0;
    for (int y = 0; y < grey.height(); ++y) {
        const uchar* line = grey.constScanLine(y);
        for (int x = 0; x < grey.width(); ++x)
            sum += line[x];
    }
    return sum / (double(grey.width()) * grey.height());
}

// The row of the dialog that shows a control: the row widget one of whose
// labels or buttons carries text starting with the control's name.
QWidget* rowOf(QDialog& dialog, const QString& name)
{
    for (QWidget* row : dialog.findChildren<QWidget*>()) {
        if (!row->inherits("CameraUI::CameraControlBase"))
            continue;
        for (QLabel* label : row->findChildren<QLabel*>())
            if (label->text().startsWith(name))
                return row;
        for (QAbstractButton* button : row->findChildren<QAbstractButton*>())
            if (button->text().startsWith(name))
                return row;
    }
    return nullptr;
}

} // namespace

class TestVirtualCameraSettings : public QObject
{
    Q_OBJECT

private slots:
    void init() { plugInFresh(1); }
    void cleanupTestCase() { plugInFresh(0); }

    void everyControlHasARowAndWritesReachThePicture()
    {
        AppWindow app;
        QSignalSpy pictures(&app.window, SIGNAL(newImage(QImage)));
        app.trigger("actionStart");
        QVERIFY(app.waitForPictures(pictures, 2));
        const double plain = meanLevel(AppWindow::lastPicture(pictures));

        auto camera = openCamera(); // the same device: its controls, names and count
        int rows = -1, plainLabels = 0;
        bool brightnessMoved = false, exposureDisabledByAuto = false;
        QTimer inDialog;
        QObject::connect(&inDialog, &QTimer::timeout, [&] {
            auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            if (!dialog || dialog->windowTitle() != "Camera settings")
                return;
            inDialog.stop();
            rows = 0;
            for (QWidget* w : dialog->findChildren<QWidget*>())
                rows += w->inherits("CameraUI::CameraControlBase") ? 1 : 0;
            for (int i = 0; i < camera->getControlCount(); ++i) {
                const QString description = camera->getControl(i)->getDescription();
                for (QLabel* label : dialog->findChildren<QLabel*>())
                    plainLabels += camera->getControl(i)->getType() == ICameraControl::TypeBitmask
                                   && label->text() == description;
            }
            if (QWidget* row = rowOf(*dialog, "Brightness")) {
                if (auto* slider = row->findChild<QSlider*>()) {
                    slider->setValue(slider->maximum());
                    brightnessMoved = true;
                }
            }
            QWidget* automatic = rowOf(*dialog, "Exposure, Auto");
            QWidget* exposure = rowOf(*dialog, "Exposure Time (us)");
            if (automatic && exposure && automatic->findChild<QCheckBox*>()) {
                automatic->findChild<QCheckBox*>()->click();
                exposureDisabledByAuto = !exposure->findChild<QSlider*>()->isEnabled();
            }
            dialog->reject();
        });
        inDialog.start(50);
        app.trigger("actionSettings");

        // One row for every control but the kind without one, which is a plain label.
        QCOMPARE(rows, camera->getControlCount() - 1);
        QCOMPARE(plainLabels, 1);
        QVERIFY(brightnessMoved);
        QVERIFY(exposureDisabledByAuto);
        QVERIFY(app.waitForPictures(pictures, 3));
        const double brighter = meanLevel(AppWindow::lastPicture(pictures));
        QVERIFY2(brighter > plain + 40, qPrintable(QString("%1 -> %2").arg(plain).arg(brighter)));
        app.trigger("actionStart");
        QVERIFY2(app.errorBoxes.isEmpty(), qPrintable(app.errorBoxes.join('\n')));
    }
};

QTEST_MAIN(TestVirtualCameraSettings)
#include "test_virtualcamera_settings.moc"
