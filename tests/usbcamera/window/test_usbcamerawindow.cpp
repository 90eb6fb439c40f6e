// The window on the emulated camera of the maker, through the real uvcvideo
// and cdc_acm in the test machine: the real application code on the real
// camera layer, offscreen. Run from a folder holding ./fuser, as the
// application is. KELVANE_DEVICE_LOG names the device's log;
// USBCAMERA_SCREENSHOT, where the settings dialog's picture goes.

#include "cameracontrolerrorcode.h"
#include "cameracontrolroint.h"
#include "cameracontroltrigger.h"
#include "console.h"
#include "mainwindow.h"
#include "settingsdialog.h"

#include <QtTest>
#include <QtWidgets>

#include <functional>

namespace {

QString consoleText(QWidget& window)
{
    return window.findChild<Console*>("console")->toPlainText();
}

// The device's log from line `since` on, without time stamps.
QStringList deviceLog(int since = 0)
{
    QFile file(qEnvironmentVariable("KELVANE_DEVICE_LOG"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList lines;
    for (const QByteArray& line : file.readAll().split('\n').mid(since)) {
        if (!line.isEmpty())
            lines << QString::fromUtf8(line.mid(10));
    }
    return lines;
}

// Runs check on the settings dialog from inside its own modal loop, then closes it.
void withSettingsDialog(QWidget& window, const std::function<void(CameraUI::SettingsDialog&)>& check)
{
    bool ran = false;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        auto* dialog = qobject_cast<CameraUI::SettingsDialog*>(QApplication::activeModalWidget());
        if (!dialog || ran)
            return;
        ran = true;
        // Closed also when a check failed and returned early.
        auto close = qScopeGuard([dialog] { dialog->reject(); });
        check(*dialog);
    });
    poll.start(20);
    window.findChild<QAction*>("actionSettings")->trigger();
    QVERIFY(ran);
}

} // namespace

class UsbCameraWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void bannerFromTheRealSerialLine();
    void settingsFromTheRealDriver();

private:
    std::unique_ptr<MainWindow> m_window;
};

// The window opens the maker's camera, asks ./fuser about /dev/ttyACM0 and
// shows what the firmware says once the line is open.
void UsbCameraWindowTest::bannerFromTheRealSerialLine()
{
    QVERIFY2(QFile::exists("fuser"), "run this from a folder holding ./fuser");
    m_window = std::make_unique<MainWindow>();
    m_window->show();
    QTRY_VERIFY_WITH_TIMEOUT(consoleText(*m_window).contains("Ready."), 20000);
    const QString console = consoleText(*m_window);
    QVERIFY2(console.startsWith("fuser /dev/ttyACM0: ()\n"), qPrintable(console));
    QVERIFY2(console.contains("Kelvane KVC-640 Camera") && console.contains("Firmware 2.13, serial KVE-000042"),
             qPrintable(console));
    // The carriage return the window sends after opening is an empty line,
    // which the firmware answers with a status line.
    QTRY_VERIFY_WITH_TIMEOUT(consoleText(*m_window).contains(QRegularExpression("temp [0-9.]+ C, errors 0x")), 10000);
}

// The settings dialog built from uvcvideo's controls has the maker's rows,
// and what they write reaches the device.
void UsbCameraWindowTest::settingsFromTheRealDriver()
{
    QVERIFY(m_window);
    QSignalSpy images(m_window.get(), SIGNAL(newImage(QImage)));
    m_window->findChild<QAction*>("actionStart")->trigger();
    QTRY_VERIFY_WITH_TIMEOUT(images.count() >= 3, 20000);

    const int logStart = deviceLog().size();
    withSettingsDialog(*m_window, [&](CameraUI::SettingsDialog& dialog) {
        CameraUI::CameraControlROInt* temperature = nullptr;
        for (auto* row : dialog.findChildren<CameraUI::CameraControlROInt*>()) {
            if (row->findChild<QLabel*>()->text() == "Temperature (C) :")
                temperature = row;
        }
        QVERIFY2(temperature, "no \"Temperature (C)\" row");
        const double celsius = temperature->findChild<QLineEdit*>()->text().toDouble();
        QVERIFY2(celsius > 25 && celsius < 45, qPrintable(temperature->findChild<QLineEdit*>()->text()));
        auto* errors = dialog.findChild<CameraUI::CameraControlErrorCode*>();
        QVERIFY2(errors, "no error-status panel");
        QStringList panels;
        for (auto* panel : dialog.findChildren<CameraUI::CameraControlTrigger*>())
            panels << panel->findChild<QPushButton*>()->text();
        panels.sort();
        QCOMPARE(panels, QStringList({"Lock Auto Controls", "Trigger Auto Controls"}));

        // The page with the maker's rows, over the live picture.
        auto* tabs = dialog.findChild<QTabWidget*>("tabWidget");
        tabs->setCurrentWidget(temperature->parentWidget());
        const int shown = images.count();
        QTRY_VERIFY_WITH_TIMEOUT(images.count() >= shown + 2, 10000);
        QCoreApplication::processEvents();
        const QString screenshot = qEnvironmentVariable("USBCAMERA_SCREENSHOT");
        if (!screenshot.isEmpty())
            QVERIFY2(dialog.grab().save(screenshot), qPrintable(screenshot));

        // The rows poll the device, and their writes reach it.
        QPushButton* clear = nullptr;
        for (auto* button : errors->findChildren<QPushButton*>())
            clear = button->text() == "Clear Errors" ? button : clear;
        QVERIFY(clear);
        QTest::mouseClick(clear, Qt::LeftButton);
        CameraUI::CameraControlTrigger* trigger = nullptr;
        for (auto* panel : dialog.findChildren<CameraUI::CameraControlTrigger*>())
            trigger = panel->findChild<QPushButton*>()->text() == "Trigger Auto Controls" ? panel : trigger;
        QVERIFY(trigger);
        trigger->findChildren<QCheckBox*>().first()->setChecked(true); // Exposure
        QTest::mouseClick(trigger->findChild<QPushButton*>(), Qt::LeftButton);
        QTRY_VERIFY_WITH_TIMEOUT(deviceLog(logStart).contains("SET_CUR Trigger Auto Controls = 1"), 5000);
        QVERIFY(deviceLog(logStart).contains("SET_CUR Error Status = -1"));
        const QRegularExpression temperatureRead("^GET_CUR Temperature \\(C\\) -> ");
        QTRY_VERIFY_WITH_TIMEOUT(deviceLog(logStart).filter(temperatureRead).size() >= 2, 5000);
        QVERIFY(!deviceLog(logStart).filter(QRegularExpression("^GET_CUR Error Status -> ")).isEmpty());
    });
    m_window->findChild<QAction*>("actionStart")->trigger();
    m_window->close();
    m_window.reset();
}

QTEST_MAIN(UsbCameraWindowTest)
#include "test_usbcamerawindow.moc"
