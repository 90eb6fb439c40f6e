// The Settings and Info actions of the main window: the dialogs they open for
// the open camera, and a camera plugged in or out while one is open.
#include "camerainfodialog.h"
#include "fakelayer.h"
#include "mainwindow.h"
#include "settingsdialog.h"

#include <QAction>
#include <QApplication>
#include <QLineEdit>
#include <QPointer>
#include <QTabWidget>
#include <QTableWidget>
#include <QThread>
#include <QTimer>
#include <QtTest>

using ImageAcquisition::ICameraEvent;

namespace {

// A camera whose rows poll it: a temperature reading and the error word.
Fake::DeviceSpec polledCamera()
{
    Fake::DeviceSpec spec;
    spec.name = "Polled Camera";
    spec.controls = [] {
        std::vector<std::unique_ptr<ImageAcquisition::ICameraControl>> controls;
        auto temperature = std::make_unique<Fake::Numeric<int>>("Temperature (C)", -10000, 10000, 1, 4523);
        temperature->readOnly = true;
        controls.push_back(std::move(temperature));
        controls.push_back(std::make_unique<Fake::Numeric<int>>("Error Status", 0, 0, 1, 0));
        controls.push_back(std::make_unique<Fake::Boolean>("Auto", false));
        return controls;
    };
    return spec;
}

Fake::DeviceSpec otherCamera()
{
    Fake::DeviceSpec spec;
    spec.name = "Other Camera";
    return spec;
}

QAction* action(MainWindow& window, const char* name)
{
    return window.findChild<QAction*>(name);
}

bool touchesPolledControls(const std::string& call)
{
    for (const char* prefix : {"Temperature (C).", "Error Status.", "Auto."}) {
        if (call.rfind(prefix, 0) == 0)
            return true;
    }
    return false;
}

} // namespace

class TestDialogsFromMainWindow : public QObject
{
    Q_OBJECT

private slots:
    void init() { Fake::Layer::instance().reset(); }

    void settingsShowTheOpenCameraWithItsPicture()
    {
        auto& layer = Fake::Layer::instance();
        layer.devices.push_back(polledCamera());
        MainWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));

        bool checked = false;
        QPointer<CameraUI::SettingsDialog> opened;
        QTimer::singleShot(100, &window, [&] {
            opened = qobject_cast<CameraUI::SettingsDialog*>(QApplication::activeModalWidget());
            if (!opened)
                return;
            auto* tabs = opened->findChild<QTabWidget*>("tabWidget");
            QImage frame(640, 480, QImage::Format_RGB32);
            frame.fill(Qt::green);
            emit window.newImage(frame);
            checked = opened->parentWidget() == &window && tabs->count() == 1
                      && opened->findChild<QLineEdit*>()->text() == "45.23"
                      && tabs->currentWidget()->palette().brush(QPalette::Window).texture().size() == QSize(800, 600);
            opened->close();
        });
        action(window, "actionSettings")->trigger();
        QVERIFY(checked);
        // Destroyed when the action returns; later pictures go nowhere.
        QVERIFY(opened.isNull());
        emit window.newImage(QImage(8, 8, QImage::Format_RGB32));
    }

    void cameraReplacedWhileSettingsAreOpen()
    {
        auto& layer = Fake::Layer::instance();
        layer.devices.push_back(polledCamera());
        MainWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(layer.camera()->device.spec.name, std::string("Polled Camera"));

        QPointer<QWidget> opened;
        bool settingsOpened = false;
        // Keeps the event loop busy until the rows' first polls are due, so that
        // they fall due together with the camera event and are delivered in the
        // same pass, after the dialog has been closed and the camera replaced.
        QTimer::singleShot(50, &window, [&] {
            opened = QApplication::activeModalWidget();
            settingsOpened = qobject_cast<CameraUI::SettingsDialog*>(opened.data()) != nullptr;
            layer.devices = {otherCamera()};
            QThread::msleep(800);
        });
        QTimer::singleShot(300, &window, [&] { layer.emitEvent(ICameraEvent::CameraRemoved); });
        action(window, "actionSettings")->trigger();

        QVERIFY(settingsOpened);
        QVERIFY(opened.isNull());
        QCOMPARE(layer.camera()->device.spec.name, std::string("Other Camera"));
        const auto calls = Fake::calls();
        const auto released = std::find(calls.begin(), calls.end(), "~Camera(Polled Camera)");
        QVERIFY(released != calls.end());
        QVERIFY(std::any_of(calls.begin(), released, touchesPolledControls));
        for (auto it = released; it != calls.end(); ++it)
            QVERIFY2(!touchesPolledControls(*it), it->c_str());
        // And nothing later either.
        QTest::qWait(600);
        QCOMPARE(Fake::count("Temperature (C)."), int(std::count_if(calls.begin(), released, [](const std::string& c) {
                     return c.rfind("Temperature (C).", 0) == 0;
                 })));
    }

    void infoShowsTheOpenCameraAndClosesOnACameraEvent()
    {
        auto& layer = Fake::Layer::instance();
        layer.devices.push_back(polledCamera());
        MainWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));

        QString shownName;
        QPointer<QWidget> opened;
        QTimer::singleShot(100, &window, [&] {
            opened = qobject_cast<CameraUI::CameraInfoDialog*>(QApplication::activeModalWidget());
            if (!opened)
                return;
            shownName = opened->findChild<QTableWidget*>()->item(0, 1)->text();
            layer.devices = {otherCamera()};
            layer.emitEvent(ICameraEvent::CameraAdded);
        });
        action(window, "actionInfo")->trigger();
        QCOMPARE(shownName, QString("Polled Camera"));
        QVERIFY(opened.isNull());
        QCOMPARE(layer.camera()->device.spec.name, std::string("Other Camera"));
    }

    void withoutACameraTheDialogsStayShut()
    {
        MainWindow window;
        bool dialogOpened = false;
        // Should a dialog open after all, end it rather than hang.
        QTimer watchdog;
        connect(&watchdog, &QTimer::timeout, &window, [&] {
            if (QWidget* modal = QApplication::activeModalWidget()) {
                dialogOpened = true;
                modal->close();
            }
        });
        watchdog.start(50);
        QVERIFY(QMetaObject::invokeMethod(&window, "settingsButtonClicked"));
        QVERIFY(QMetaObject::invokeMethod(&window, "infoButtonClicked"));
        QVERIFY(!dialogOpened);
    }
};

QTEST_MAIN(TestDialogsFromMainWindow)
#include "test_dialogsfrommainwindow.moc"
