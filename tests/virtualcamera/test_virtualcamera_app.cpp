// The application end to end with the virtual camera behind the real layer,
// the settings dialog included.
#include "apptesting.h"

#include <QCheckBox>
#include <QDialog>
#include <QFileDialog>
#include <QSlider>
#include <QRegularExpression>
#include <QTemporaryDir>

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

class TestVirtualCameraApp : public QObject
{
    Q_OBJECT

private slots:
    void init() { plugInFresh(1); }
    void cleanupTestCase() { plugInFresh(0); }

    void defaultDeviceOpens()
    {
        AppWindow app;
        QCOMPARE(app.devices->count(), 1);
        QVERIFY(app.devices->itemText(0).startsWith("Kelvane KVC-1080 (virtual "));
        QCOMPARE(app.formats->count(), 5);
        // Of the preferred formats the later one, BGR3, is made current.
        QCOMPARE(app.formats->currentText(), QString("BGR3"));
        QCOMPARE(app.formats->toolTip(), QString("BGR3 (Emulated)"));
        QCOMPARE(app.resolutions->currentText(), QString("320x240"));
        QCOMPARE(app.intervals->count(), 4);
        QVERIFY(app.action("actionSettings")->isEnabled());
        QTest::qWait(700); // the serial line opens half a second after the camera
        QVERIFY2(app.errorBoxes.isEmpty(), qPrintable(app.errorBoxes.join('\n')));
    }

    void everyFormatStreams_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<int>("resolution");
        QTest::addColumn<QSize>("shown");
        for (const char* format : {"Motion-JPEG", "8-bit Bayer GRGR/BGBG", "YUYV 4:2:2", "RGB3", "BGR3"}) {
            QTest::addRow("%s 320x240", format) << format << 0 << QSize(640, 480);
            QTest::addRow("%s 1280x720", format) << format << 2 << QSize(640, 360);
        }
    }

    void everyFormatStreams()
    {
        QFETCH(QString, format);
        QFETCH(int, resolution);
        QFETCH(QSize, shown);
        AppWindow app;
        app.formats->setCurrentIndex(app.formats->findText(format));
        app.resolutions->setCurrentIndex(resolution);
        const QStringList size = app.resolutions->currentText().split('x');
        const QSize full(size.value(0).toInt(), size.value(1).toInt());

        QSignalSpy pictures(&app.window, SIGNAL(newImage(QImage)));
        app.trigger("actionStart");
        QVERIFY(!app.formats->isEnabled());
        QVERIFY(app.waitForPictures(pictures, 3));
        const QImage picture = AppWindow::lastPicture(pictures);
        QCOMPARE(picture.size(), full);
        QCOMPARE(app.image->pixmap(Qt::ReturnByValue).size(), shown);
        QVERIFY2(QRegularExpression("^\\d+:\\d+ Fps: \\d+\\.\\d{3}$").match(app.status->text()).hasMatch(),
                 qPrintable(app.status->text()));

        // The second colour bar is yellow, whichever way the bytes came.
        const QColor bar = picture.pixelColor(full.width() * 3 / 14, full.height() * 2 / 5);
        if (format == "YUYV 4:2:2") {
            QCOMPARE(bar, QColor(Qt::black)); // a format the application does not convert
        } else if (format.startsWith("8-bit Bayer")) {
            QCOMPARE(picture.format(), QImage::Format_Grayscale8);
        } else {
            QVERIFY2(bar.red() > 150 && bar.green() > 150 && bar.blue() < 70, qPrintable(bar.name()));
        }

        app.trigger("actionStart");
        QVERIFY(app.formats->isEnabled());
        QVERIFY2(app.errorBoxes.isEmpty(), qPrintable(app.errorBoxes.join('\n')));
    }

    void snapshotIsWritten()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath("snapshot.png");
        AppWindow app;
        app.formats->setCurrentIndex(app.formats->findText("RGB3"));
        app.resolutions->setCurrentIndex(2);
        QSignalSpy pictures(&app.window, SIGNAL(newImage(QImage)));
        app.trigger("actionStart");
        QVERIFY(app.waitForPictures(pictures, 1));

        // The snapshot asks for a file name in a modal dialog: answer it.
        QTimer answer;
        QObject::connect(&answer, &QTimer::timeout, [&] {
            if (auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget())) {
                dialog->selectFile(path);
                static_cast<QDialog*>(dialog)->accept(); // QFileDialog's own is protected
            }
        });
        answer.start(50);
        app.trigger("actionSnapshot");
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(path), 10000);
        QCOMPARE(QImage(path).size(), QSize(1280, 720));
        QVERIFY(app.waitForPictures(pictures, 2)); // and the live view goes on
        app.trigger("actionStart");
    }

    void unpluggingWhileStreamingStopsAndRebuildsTheList()
    {
        plugInFresh(2);
        AppWindow app;
        QCOMPARE(app.devices->count(), 2);
        const QString survivor = app.devices->itemText(1);
        QSignalSpy pictures(&app.window, SIGNAL(newImage(QImage)));
        QSignalSpy changes(&app.window, SIGNAL(cameraAddedOrRemoved()));
        app.trigger("actionStart");
        QVERIFY(app.waitForPictures(pictures, 2));

        QVERIFY(VirtualCameras::unplug(app.devices->currentIndex()));
        QTRY_COMPARE(changes.count(), 1);
        QCOMPARE(app.devices->count(), 1);
        QCOMPARE(app.devices->itemText(0), survivor);
        QVERIFY(app.devices->isEnabled() && app.formats->isEnabled());
        const int shown = pictures.count();
        QTest::qWait(200);
        QCOMPARE(pictures.count(), shown);

        // The camera that is left streams, and plugging one in stops it again.
        app.trigger("actionStart");
        QVERIFY(app.waitForPictures(pictures, 2));
        VirtualCameras::plug();
        QTRY_COMPARE(changes.count(), 2);
        QCOMPARE(app.devices->count(), 2);
        QVERIFY(app.formats->isEnabled());
        QVERIFY2(app.errorBoxes.isEmpty(), qPrintable(app.errorBoxes.join('\n')));
    }

    void rebootOnTheSerialLineWhileStreaming()
    {
        AppWindow app;
        QSignalSpy pictures(&app.window, SIGNAL(newImage(QImage)));
        QSignalSpy changes(&app.window, SIGNAL(cameraAddedOrRemoved()));
        const QString before = app.devices->itemText(0);
        app.trigger("actionStart");
        QVERIFY(app.waitForPictures(pictures, 2));

        // What a person can do from a shell: echo reboot > /dev/ttyACM0.
        QFile line(QString::fromStdString(VirtualCameras::serialLinePath(0)));
        QVERIFY(line.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        QVERIFY(line.write("reboot\n") == 7);
        line.close();
        QTRY_COMPARE_WITH_TIMEOUT(changes.count(), 2, 5000); // gone, and back
        QCOMPARE(app.devices->count(), 1);
        QVERIFY(app.devices->itemText(0) != before);
        QVERIFY(app.formats->isEnabled()); // the stream stopped
        app.trigger("actionStart");
        QVERIFY(app.waitForPictures(pictures, 2));
        app.trigger("actionStart");
        QVERIFY2(app.errorBoxes.isEmpty(), qPrintable(app.errorBoxes.join('\n')));
    }

    void softResetRestoresTheCamera()
    {
        AppWindow app;
        QSignalSpy pictures(&app.window, SIGNAL(newImage(QImage)));
        app.trigger("actionStart");
        QVERIFY(app.waitForPictures(pictures, 2));
        const double plain = meanLevel(AppWindow::lastPicture(pictures));

        // Settings belong to the device: another handle on it changes what the window shows.
        auto handle = openCamera();
        controlAs<ICameraControlNumeric<int>>(*handle, "Brightness")->setValue(90);
        QVERIFY(app.waitForPictures(pictures, 3));
        const double brighter = meanLevel(AppWindow::lastPicture(pictures));
        QVERIFY2(brighter > plain + 40, qPrintable(QString("%1 -> %2").arg(plain).arg(brighter)));

        const bool serialConsole = app.window.findChild<QSerialPort*>() != nullptr;
        if (serialConsole)
            QTRY_VERIFY_WITH_TIMEOUT(app.console->toPlainText().contains("Ready."), 5000);
        app.console->clear();

        app.trigger("actionReset");
        QVERIFY(app.waitForPictures(pictures, 3));
        QVERIFY(qAbs(meanLevel(AppWindow::lastPicture(pictures)) - plain) < 10);
        QVERIFY(app.action("actionSnapshot")->isEnabled()); // still streaming
        if (serialConsole)
            QTRY_VERIFY_WITH_TIMEOUT(app.console->toPlainText().contains("Kelvane KVC-1080"), 5000);
        app.trigger("actionStart");
        QVERIFY2(app.errorBoxes.isEmpty(), qPrintable(app.errorBoxes.join('\n')));
    }

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

QTEST_MAIN(TestVirtualCameraApp)
#include "test_virtualcamera_app.moc"
