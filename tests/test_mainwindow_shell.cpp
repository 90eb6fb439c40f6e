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

    void geometryIsFixed()
    {
        MainWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(window.size(), QSize(800, 600));
        QCOMPARE(window.minimumSize(), QSize(800, 600));
        QCOMPARE(window.maximumSize(), QSize(800, 600));
        QCOMPARE(window.font().pointSize(), 14);

        auto* image = window.findChild<QLabel*>("imageLabel");
        QVERIFY(image);
        QCOMPARE(image->size(), QSize(640, 480));
        QCOMPARE(image->alignment(), Qt::AlignCenter);
        QCOMPARE(image->styleSheet(), QString("QLabel {\n   background-color: black;\n}"));

        auto* status = window.findChild<QLabel*>("statusLabel");
        QCOMPARE(status->styleSheet(),
                 QString("QLabel {\n   background-color: black;\n\tpadding-left: 10px;\n\tcolor: #0080FA;\n}\n"));

        auto* console = window.findChild<Console*>("console");
        QVERIFY(console);
        QCOMPARE(console->height(), 480);
        QVERIFY(console->isReadOnly());
        QCOMPARE(console->font().pointSize(), 9);
        QCOMPARE(window.findChild<QPushButton*>("clearButton")->text(), QString("Clear"));
    }

    void toolBarReadsLeftToRight()
    {
        MainWindow window;
        auto* bar = window.findChild<QToolBar*>("mainToolBar");
        QVERIFY(bar);
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
        QVERIFY(!action(window, "actionSnapshot")->isEnabled());
    }

    void titleAndStatusAfterStartUp()
    {
        MainWindow window;
        QCOMPARE(window.windowTitle(), QString("Tarvello Center"));
        QCOMPARE(window.findChild<QLabel*>("statusLabel")->text(), QString("Tarvello Center"));
    }

    void dialogActionsNeedAnOpenCamera()
    {
        {
            MainWindow window;
            QVERIFY(!action(window, "actionSettings")->isEnabled());
            QVERIFY(!action(window, "actionInfo")->isEnabled());
        }
        Fake::Layer::instance().devices.push_back(Fake::DeviceSpec{});
        MainWindow window;
        QVERIFY(action(window, "actionSettings")->isEnabled());
        QVERIFY(action(window, "actionInfo")->isEnabled());
    }

    void monitorStartsWithTheWindowAndStopsOnClose()
    {
        auto& layer = Fake::Layer::instance();
        layer.devices.push_back(Fake::DeviceSpec{});
        {
            MainWindow window;
            window.show();
            QCOMPARE(layer.monitorsCreated, 1);
            QCOMPARE(layer.monitorsStarted, 1);
            QVERIFY(layer.client.load());
            action(window, "actionQuit")->trigger();
            QVERIFY(!window.isVisible());
            QVERIFY(!layer.client.load());
            QVERIFY(Fake::called("monitor.stop"));
        }
        // The client goes before the monitor, and the camera last.
        const auto calls = Fake::calls();
        const auto at = [&](const std::string& c) { return std::find(calls.begin(), calls.end(), c) - calls.begin(); };
        QVERIFY(at("monitor.stop") < at("~Monitor"));
        QVERIFY(at("~Monitor") < at("~Camera(Fake Camera)"));
        QCOMPARE(layer.monitorsDeleted, 1);
        QVERIFY(layer.liveCameras.empty());
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
        QVERIFY(!window.isVisible());
        QVERIFY(Fake::called("stopStreaming"));
    }

    void clearButtonEmptiesTheConsole()
    {
        MainWindow window;
        auto* console = window.findChild<Console*>("console");
        console->putData("camera says hello\n");
        QTest::mouseClick(window.findChild<QPushButton*>("clearButton"), Qt::LeftButton);
        QVERIFY(console->toPlainText().isEmpty());
    }
};

QTEST_MAIN(TestMainWindowShell)
#include "test_mainwindow_shell.moc"
