#include "console.h"
#include "fakelayer.h"
#include "mainwindow.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QToolBar>
#include <QtTest>

class TestMainWindowShell : public QObject
{
    Q_OBJECT

private:
    static QAction* action(QWidget& w, const char* name) { return w.findChild<QAction*>(name); }

private slots:
    void init() { Fake::Layer::instance().reset(); }

    void windowAtStartUp()
    {
        MainWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QVERIFY(window.size() == QSize(800, 600) && window.minimumSize() == window.maximumSize());
        QCOMPARE(window.font().pointSize(), 14);
        QCOMPARE(window.windowTitle(), QString("Tarvello Center"));
        QCOMPARE(window.findChild<QLabel*>("statusLabel")->text(), QString("Tarvello Center"));

        auto* bar = window.findChild<QToolBar*>("mainToolBar");
        QCOMPARE(bar->iconSize(), QSize(32, 32));
        QStringList order;
        for (QAction* a : bar->actions()) {
            if (QWidget* w = bar->widgetForAction(a); w && !a->objectName().startsWith("action"))
                order << (qobject_cast<QComboBox*>(w) ? "combo" : "spacer");
            else
                order << a->objectName();
        }
        QCOMPARE(order, QStringList({"actionStart", "combo", "actionInfo", "actionSettings", "actionReset",
                                     "actionSnapshot", "combo", "combo", "combo", "spacer", "actionQuit"}));
        QCOMPARE(action(window, "actionStart")->toolTip(), QString("Start/stop video"));
        QCOMPARE(action(window, "actionSnapshot")->toolTip(), QString("Save Snapshot"));
        QCOMPARE(action(window, "actionReset")->text(), QString("reset"));
        QCOMPARE(action(window, "actionReset")->toolTip(), QString("Soft Reset"));
        // No camera: nothing to snapshot, set or describe.
        for (const char* name : {"actionSnapshot", "actionSettings", "actionInfo"})
            QVERIFY(!action(window, name)->isEnabled());

        auto* console = window.findChild<Console*>("console");
        QVERIFY(console->isReadOnly());
        console->putData("camera says hello\n");
        auto* clear = window.findChild<QPushButton*>("clearButton");
        QCOMPARE(clear->text(), QString("Clear"));
        QTest::mouseClick(clear, Qt::LeftButton);
        QVERIFY(console->toPlainText().isEmpty());
    }

    void monitorStartsWithTheWindowAndStopsOnClose()
    {
        auto& layer = Fake::Layer::instance();
        layer.devices.push_back(Fake::DeviceSpec{});
        {
            MainWindow window;
            window.show();
            QVERIFY(layer.monitorsStarted == 1 && layer.client.load());
            action(window, "actionQuit")->trigger();
            QVERIFY(!window.isVisible() && !layer.client.load());
        }
        // The client goes before the monitor, and the camera last.
        const auto calls = Fake::calls();
        const auto at = [&](const std::string& c) { return std::find(calls.begin(), calls.end(), c) - calls.begin(); };
        QVERIFY(at("monitor.stop") < at("~Monitor") && at("~Monitor") < at("~Camera(Fake Camera)"));
        QVERIFY(at("~Camera(Fake Camera)") < int(calls.size()));
        QVERIFY(layer.monitorsCreated == 1 && layer.monitorsDeleted == 1 && layer.liveCameras.empty());
    }

    void closingWhileStopFailsStillCloses()
    {
        Fake::Layer::instance().devices.push_back(Fake::DeviceSpec{});
        MainWindow window;
        window.show();
        action(window, "actionStart")->trigger();
        QVERIFY(action(window, "actionSnapshot")->isEnabled());
        Fake::Layer::instance().camera()->stopResult = -5;
        QVERIFY(window.close());
        QVERIFY(!window.isVisible() && Fake::called("stopStreaming"));
    }
};

QTEST_MAIN(TestMainWindowShell)
#include "test_mainwindow_shell.moc"
