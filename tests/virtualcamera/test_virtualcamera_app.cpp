// The application end to end with the virtual camera behind the real layer,
// the settings dialog included.
#include "console.h"
#include "mainwindow.h"
#include "virtualcameratesting.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMessageBox>
#include <QProcess>
#include <QRegularExpression>
#include <QSerialPort>
#include <QSignalSpy>
#include <QSlider>
#include <QTimer>
#include <QToolBar>
#include <QtTest>

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

using namespace ImageAcquisition;
using namespace VirtualCameraTesting;

namespace {

// The demo must never greet anyone with an error box; cleanup() checks.
QStringList errorBoxes;

// A window as the user sees it, with the handles a test needs.
struct AppWindow
{
    AppWindow()
    {
        window.show();
        // The tool bar holds the selection boxes in the order the window made them.
        const auto combos = window.findChild<QToolBar*>("mainToolBar")
                                ->findChildren<QComboBox*>(QString(), Qt::FindDirectChildrenOnly);
        devices = combos.value(0);
        formats = combos.value(1);
        resolutions = combos.value(2);
        intervals = combos.value(3);
        QObject::connect(&boxWatch, &QTimer::timeout, [] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                errorBoxes << box->text();
                box->close();
            }
        });
        boxWatch.start(100);
    }

    QAction* action(const char* name) { return window.findChild<QAction*>(name); }
    void trigger(const char* name) { action(name)->trigger(); }

    // Waits until at least count more pictures have been shown.
    bool waitForPictures(int count)
    {
        const int target = pictures.count() + count;
        QElapsedTimer timer;
        timer.start();
        while (pictures.count() < target && timer.elapsed() < 5000)
            QTest::qWait(10);
        return pictures.count() >= target;
    }
    bool start()
    {
        trigger("actionStart");
        return waitForPictures(2);
    }
    QImage lastPicture() const { return pictures.last().at(0).value<QImage>(); }

    MainWindow window;
    QSignalSpy pictures{&window, SIGNAL(newImage(QImage))};
    QComboBox* devices = nullptr;
    QComboBox* formats = nullptr;
    QComboBox* resolutions = nullptr;
    QComboBox* intervals = nullptr;
    QTimer boxWatch;
};

double meanLevel(const QImage& picture)
{
    const QImage grey = picture.convertToFormat(QImage::Format_Grayscale8);
    double sum = 0;
    for (int y = 0; y < grey.height(); ++y) {
        for (int x = 0; x < grey.width(); ++x)
            sum += grey.constScanLine(y)[x];
    }
    return sum / (double(grey.width()) * grey.height());
}

// The settings row of a control: the one with a label or button whose text starts with its name.
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
    void cleanup()
    {
        const QStringList seen = errorBoxes;
        errorBoxes.clear();
        QVERIFY2(seen.isEmpty(), qPrintable(seen.join('\n')));
    }
    void cleanupTestCase() { plugInFresh(0); }

    void staleSerialLinkIsGoneBeforeTheWindowCouldFollowIt()
    {
        plugInFresh(0);
        if (QFileInfo("/dev/ttyACM0").exists() || QFileInfo("/dev/ttyACM0").isSymLink() || ::access("/dev", W_OK) != 0)
            QSKIP("needs /dev/ttyACM0 free and /dev writable (root), where a virtual camera links its line");
        // What a killed virtual camera leaves: the link to its pseudo-terminal
        // (here one of ours, so that anything sent to it shows) and its note,
        // which names a process that has ended and which nobody holds.
        const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
        QVERIFY(terminal >= 0 && ::grantpt(terminal) == 0 && ::unlockpt(terminal) == 0);
        const QByteArray pts = ::ptsname(terminal);
        QProcess ended;
        ended.start("true", QStringList());
        QVERIFY(ended.waitForStarted());
        const qint64 pid = ended.processId();
        QVERIFY(ended.waitForFinished());
        QFile note("/dev/.ttyACM0.owner");
        QVERIFY(note.open(QIODevice::WriteOnly) && note.write(QByteArray::number(pid) + " 1 " + pts + "\n") > 0);
        note.close();
        QVERIFY(::symlink(pts.constData(), "/dev/ttyACM0") == 0);

        {
            AppWindow app;
            QVERIFY(!QFileInfo("/dev/ttyACM0").isSymLink() && !note.exists());
            QTest::qWait(700);
            QVERIFY(!app.window.findChild<QSerialPort*>());
        }
        char byte;
        QCOMPARE(::read(terminal, &byte, 1), ssize_t(-1)); // nothing was sent to it
        ::close(terminal);
    }

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
    }

    void everyFormatStreams_data()
    {
        QTest::addColumn<QString>("format");
        for (const char* format : {"Motion-JPEG", "8-bit Bayer GRGR/BGBG", "YUYV 4:2:2", "RGB3", "BGR3"})
            QTest::newRow(format) << format;
    }

    void everyFormatStreams()
    {
        QFETCH(QString, format);
        AppWindow app;
        app.formats->setCurrentIndex(app.formats->findText(format));
        app.resolutions->setCurrentIndex(2);
        QVERIFY(app.start());
        QVERIFY(!app.formats->isEnabled());
        const QImage picture = app.lastPicture();
        QCOMPARE(picture.size(), QSize(1280, 720));
        QCOMPARE(app.window.findChild<QLabel*>("imageLabel")->pixmap(Qt::ReturnByValue).size(), QSize(640, 360));
        const QString status = app.window.findChild<QLabel*>("statusLabel")->text();
        QVERIFY2(QRegularExpression("^\\d+:\\d+ Fps: \\d+\\.\\d{3}$").match(status).hasMatch(), qPrintable(status));

        // The second colour bar is yellow, whichever way the bytes came.
        const QColor bar = picture.pixelColor(1280 * 3 / 14, 720 * 2 / 5);
        if (format == "YUYV 4:2:2")
            QCOMPARE(bar, QColor(Qt::black)); // a format the application does not convert
        else if (format.startsWith("8-bit Bayer"))
            QCOMPARE(picture.format(), QImage::Format_Grayscale8);
        else
            QVERIFY2(bar.red() > 150 && bar.green() > 150 && bar.blue() < 70, qPrintable(bar.name()));

        app.trigger("actionStart");
        QVERIFY(app.formats->isEnabled());
    }

    void unpluggingWhileStreamingStopsAndRebuildsTheList()
    {
        plugInFresh(2);
        AppWindow app;
        QCOMPARE(app.devices->count(), 2);
        const QString survivor = app.devices->itemText(1);
        QSignalSpy changes(&app.window, SIGNAL(cameraAddedOrRemoved()));
        QVERIFY(app.start());

        QVERIFY(VirtualCameras::unplug(app.devices->currentIndex()));
        QTRY_COMPARE(changes.count(), 1);
        QCOMPARE(app.devices->count(), 1);
        QCOMPARE(app.devices->itemText(0), survivor);
        QVERIFY(app.devices->isEnabled() && app.formats->isEnabled());
        const int shown = app.pictures.count();
        QTest::qWait(200);
        QCOMPARE(app.pictures.count(), shown);

        // The camera that is left streams, and plugging one in stops it again.
        QVERIFY(app.start());
        VirtualCameras::plug();
        QTRY_COMPARE(changes.count(), 2);
        QCOMPARE(app.devices->count(), 2);
        QVERIFY(app.formats->isEnabled());
    }

    void settingsReachThePictureAndResetUndoesThem()
    {
        AppWindow app;
        QVERIFY(app.start());
        const double plain = meanLevel(app.lastPicture());

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
                for (QLabel* label : dialog->findChildren<QLabel*>())
                    plainLabels += camera->getControl(i)->getType() == ICameraControl::TypeBitmask
                                   && label->text() == camera->getControl(i)->getDescription();
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
        QVERIFY(brightnessMoved && exposureDisabledByAuto);
        QVERIFY(app.waitForPictures(3));
        const double brighter = meanLevel(app.lastPicture());
        QVERIFY2(brighter > plain + 40, qPrintable(QString("%1 -> %2").arg(plain).arg(brighter)));

        // A soft reset while streaming undoes it, and the camera greets again on its console.
        auto* console = app.window.findChild<Console*>("console");
        const bool serialConsole = app.window.findChild<QSerialPort*>() != nullptr;
        if (serialConsole)
            QTRY_VERIFY_WITH_TIMEOUT(console->toPlainText().contains("Ready."), 5000);
        console->clear();
        app.trigger("actionReset");
        QVERIFY(app.waitForPictures(3));
        QVERIFY(qAbs(meanLevel(app.lastPicture()) - plain) < 10);
        QVERIFY(app.action("actionSnapshot")->isEnabled());
        if (serialConsole)
            QTRY_VERIFY_WITH_TIMEOUT(console->toPlainText().contains("Kelvane KVC-1080"), 5000);
        app.trigger("actionStart");
    }
};

QTEST_MAIN(TestVirtualCameraApp)
#include "test_virtualcamera_app.moc"
