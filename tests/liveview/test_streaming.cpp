#include "windowprobe.h"

#include <QSignalSpy>

#include <array>
#include <thread>

using ImageAcquisition::ICameraEvent;

namespace {

bool iconIs(QAction* a, const char* resource)
{
    return a->icon().pixmap(75, 75).toImage() == QIcon(resource).pixmap(75, 75).toImage();
}

// What the user sees of the streaming state, in one line.
QString layout(MainWindow& window)
{
    QAction* start = window.findChild<QAction*>("actionStart");
    const auto combos = Probe::combos(window);
    const int enabled = int(std::count_if(combos.begin(), combos.end(), [](QComboBox* c) { return c->isEnabled(); }));
    return QStringList{iconIs(start, ":/icons/Stop-Button-Blue-Davrix2-13mai2016.png")   ? "stop"
                       : iconIs(start, ":/icons/Play-Button-Blue-Davrix2-13mai2016.png") ? "play"
                                                                                          : "?",
                       enabled == 4 ? "combos on" : enabled == 0 ? "combos off" : "combos mixed",
                       window.findChild<QAction*>("actionSnapshot")->isEnabled() ? "snapshot on" : "snapshot off",
                       Probe::refreshTimer(window)->isActive() ? "timer on" : "timer off"}
        .join(", ");
}

const QString kIdle = "play, combos on, snapshot off, timer off";
const QString kStreaming = "stop, combos off, snapshot on, timer on";
const QString kStopped = "play, combos on, snapshot on, timer off";

} // namespace

class TestStreaming : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<MainWindow> m_window;

    Fake::Camera& openWindow(int numerator = 1, int denominator = 30)
    {
        Fake::Layer::instance().devices = {Probe::camera("RGB3", 64, 48, {{numerator, denominator}})};
        m_window = std::make_unique<MainWindow>();
        return *Fake::Layer::instance().camera();
    }
    void clickStart() { Probe::trigger(*m_window, "actionStart"); }

private slots:
    void init() { Fake::Layer::instance().reset(); }
    void cleanup() { m_window.reset(); }

    void timerPeriodFollowsTheDenominator()
    {
        // {numerator, denominator, period}: the numerator is ignored; a zero
        // denominator must not stop the pump.
        for (const auto& row : std::vector<std::array<int, 3>>{{1, 30, 33}, {2, 15, 66}, {1, 0, -1}}) {
            openWindow(row[0], row[1]);
            clickStart();
            QTimer* timer = Probe::refreshTimer(*m_window);
            QVERIFY(timer->isActive() && timer->interval() > 0);
            QCOMPARE(row[2] < 0 ? -1 : timer->interval(), row[2]);
        }
    }

    void startResetStop()
    {
        openWindow();
        QCOMPARE(layout(*m_window), kIdle);
        Fake::clearCalls();
        clickStart();
        QCOMPARE(layout(*m_window), kStreaming);
        QCOMPARE(Fake::calls(), std::vector<std::string>({"allocateBuffers(2)", "startStreaming"}));
        // A soft reset keeps the stream going.
        Fake::clearCalls();
        Probe::trigger(*m_window, "actionReset");
        QCOMPARE(Fake::calls(), std::vector<std::string>{"reset"});
        QCOMPARE(layout(*m_window), kStreaming);
        Fake::clearCalls();
        clickStart();
        QCOMPARE(layout(*m_window), kIdle);
        QCOMPARE(Fake::calls(), std::vector<std::string>({"stopStreaming", "releaseBuffers"}));
    }

    void failurePaths()
    {
        // A failed stop leaves the streaming layout with the pump stopped.
        const QString stopFailed = "stop, combos off, snapshot on, timer off";
        for (const auto& row : std::vector<std::pair<int Fake::Camera::*, QString>>{
                 {&Fake::Camera::allocateResult, kIdle}, {&Fake::Camera::startResult, kIdle},
                 {&Fake::Camera::stopResult, stopFailed}, {&Fake::Camera::releaseResult, stopFailed}}) {
            Fake::Camera& camera = openWindow();
            const bool stopping = row.second == stopFailed;
            if (stopping)
                clickStart();
            camera.*row.first = -16;
            clickStart();
            QCOMPARE(layout(*m_window), row.second);
            // The next click retries the same step.
            camera.*row.first = 0;
            Fake::clearCalls();
            clickStart();
            QVERIFY(Fake::called(stopping ? "stopStreaming" : "allocateBuffers(2)"));
            QCOMPARE(layout(*m_window), stopping ? kIdle : kStreaming);
        }
    }

    void startAndResetWithoutCameraDoNothing()
    {
        MainWindow window;
        Probe::trigger(window, "actionStart");
        Probe::trigger(window, "actionReset");
        QCOMPARE(layout(window), kIdle);
        QVERIFY(!Fake::called("reset"));
    }

    void cameraEvents_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<bool>("streaming");
        QTest::addColumn<bool>("fromAnotherThread");
        QTest::newRow("added while streaming") << int(ICameraEvent::CameraAdded) << true << false;
        QTest::newRow("removed while streaming, from the monitor's thread")
            << int(ICameraEvent::CameraRemoved) << true << true;
        QTest::newRow("removed while idle") << int(ICameraEvent::CameraRemoved) << false << false;
    }

    void cameraEvents()
    {
        QFETCH(int, kind);
        QFETCH(bool, streaming);
        QFETCH(bool, fromAnotherThread);
        auto& layer = Fake::Layer::instance();
        openWindow();
        QSignalSpy closing(m_window.get(), SIGNAL(cameraAddedOrRemoved()));
        m_window->findChild<Console*>("console")->putData("chatter");
        if (streaming)
            clickStart();
        Fake::clearCalls();
        if (fromAnotherThread) {
            std::thread monitorThread([&] { layer.emitEvent(kind); });
            monitorThread.join();
            QCOMPARE(layer.eventsDeleted.load(), 0); // queued to the window's thread
        } else {
            layer.emitEvent(kind);
        }
        QTRY_COMPARE(layer.eventsDeleted.load(), 1);
        QCOMPARE(closing.count(), 1);
        QCOMPARE(Fake::called("stopStreaming"), streaming);
        QVERIFY(Fake::called("~Camera(cam)") && Fake::called("createCamera(cam)"));
        QVERIFY(Probe::consoleText(*m_window).isEmpty());
        // The forced stop leaves Snapshot as it was; the stream is not restarted.
        QCOMPARE(layout(*m_window), streaming ? kStopped : kIdle);
        QVERIFY(!Fake::called("startStreaming"));
    }

    void everyEventIsFreed()
    {
        auto& layer = Fake::Layer::instance();
        openWindow();
        clickStart();
        Fake::clearCalls();
        for (int kind : {0, 3, -1})
            layer.emitEvent(kind);
        QCOMPARE(layer.eventsDeleted.load(), 3);
        QVERIFY(Fake::calls().empty());
        QCOMPARE(layout(*m_window), kStreaming);
        // Still queued when the window goes.
        std::thread monitorThread([&] { layer.emitEvent(ICameraEvent::CameraAdded); });
        monitorThread.join();
        m_window.reset();
        QCOMPARE(layer.eventsDeleted.load(), 4);
    }

    void lastDeviceUnpluggedKeepsTheOldCamera()
    {
        auto& layer = Fake::Layer::instance();
        openWindow();
        clickStart();
        layer.devices.clear();
        layer.emitEvent(ICameraEvent::CameraRemoved);
        QCOMPARE(Probe::combos(*m_window)[0]->count(), 0);
        QCOMPARE(layer.liveCameras.size(), size_t(1));
        QCOMPARE(layout(*m_window), kStopped);
    }

    void quitWhileStreamingStopsFirst()
    {
        openWindow();
        m_window->show();
        clickStart();
        Fake::clearCalls();
        Probe::trigger(*m_window, "actionQuit");
        QCOMPARE(Fake::calls(), std::vector<std::string>({"monitor.stop", "stopStreaming", "releaseBuffers"}));
        QVERIFY(!m_window->isVisible());
    }
};

QTEST_MAIN(TestStreaming)
#include "test_streaming.moc"
