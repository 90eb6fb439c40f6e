#include "windowprobe.h"

#include <QSignalSpy>

#include <thread>

using ImageAcquisition::ICameraEvent;

namespace {

Fake::DeviceSpec cameraWithInterval(int numerator, int denominator)
{
    Fake::DeviceSpec spec;
    spec.name = "cam";
    Fake::ResolutionSpec resolution;
    resolution.width = 64;
    resolution.height = 48;
    resolution.bytesPerLine = 64 * 3;
    resolution.intervals = {{numerator, denominator}};
    spec.formats[0].resolutions = {resolution};
    return spec;
}

struct Layout
{
    bool streamingIcon;
    bool combosEnabled;
    bool snapshotEnabled;
    bool timerActive;
};

Layout layoutOf(MainWindow& window)
{
    Layout l{};
    l.streamingIcon = Probe::iconIs(Probe::action(window, "actionStart"), Probe::stopIcon());
    const auto combos = Probe::combos(window);
    l.combosEnabled = std::all_of(combos.begin(), combos.end(), [](QComboBox* c) { return c->isEnabled(); });
    const bool anyEnabled = std::any_of(combos.begin(), combos.end(), [](QComboBox* c) { return c->isEnabled(); });
    if (anyEnabled != l.combosEnabled)
        qWarning("combo boxes disagree about their enabled state");
    l.snapshotEnabled = Probe::action(window, "actionSnapshot")->isEnabled();
    l.timerActive = Probe::refreshTimer(window)->isActive();
    return l;
}

void expectIdle(MainWindow& window, bool snapshotEnabled = false)
{
    const Layout l = layoutOf(window);
    QVERIFY(Probe::iconIs(Probe::action(window, "actionStart"), Probe::playIcon()));
    QVERIFY(l.combosEnabled);
    QCOMPARE(l.snapshotEnabled, snapshotEnabled);
    QVERIFY(!l.timerActive);
}

void expectStreaming(MainWindow& window)
{
    const Layout l = layoutOf(window);
    QVERIFY(l.streamingIcon);
    QVERIFY(!l.combosEnabled);
    QVERIFY(l.snapshotEnabled);
    QVERIFY(l.timerActive);
}

} // namespace

class TestStreaming : public QObject
{
    Q_OBJECT

private slots:
    void init() { Fake::Layer::instance().reset(); }

    void timerPeriodFollowsTheDenominator_data()
    {
        QTest::addColumn<int>("numerator");
        QTest::addColumn<int>("denominator");
        QTest::addColumn<int>("period");
        QTest::newRow("1/30") << 1 << 30 << 33;
        QTest::newRow("1/25") << 1 << 25 << 40;
        QTest::newRow("1/15") << 1 << 15 << 66;
        QTest::newRow("1/7") << 1 << 7 << 142;
        QTest::newRow("2/15 ignores the numerator") << 2 << 15 << 66;
    }

    void timerPeriodFollowsTheDenominator()
    {
        QFETCH(int, numerator);
        QFETCH(int, denominator);
        QFETCH(int, period);
        Fake::Layer::instance().devices.push_back(cameraWithInterval(numerator, denominator));
        MainWindow window;
        Probe::action(window, "actionStart")->trigger();
        QCOMPARE(Probe::refreshTimer(window)->interval(), period);
    }

    void startThenStop()
    {
        Fake::Layer::instance().devices.push_back(cameraWithInterval(1, 30));
        MainWindow window;
        expectIdle(window);

        Fake::clearCalls();
        Probe::action(window, "actionStart")->trigger();
        expectStreaming(window);
        QCOMPARE(Fake::calls()[0], std::string("allocateBuffers(2)"));
        QCOMPARE(Fake::calls()[1], std::string("startStreaming"));

        Fake::clearCalls();
        Probe::action(window, "actionStart")->trigger();
        expectIdle(window);
        QCOMPARE(Fake::calls(), std::vector<std::string>({"stopStreaming", "releaseBuffers"}));
    }

    void failedStartChangesNothing_data()
    {
        QTest::addColumn<bool>("allocationFails");
        QTest::newRow("allocateBuffers") << true;
        QTest::newRow("startStreaming") << false;
    }

    void failedStartChangesNothing()
    {
        QFETCH(bool, allocationFails);
        Fake::Layer::instance().devices.push_back(cameraWithInterval(1, 30));
        MainWindow window;
        auto* camera = Fake::Layer::instance().camera();
        (allocationFails ? camera->allocateResult : camera->startResult) = -16;
        Probe::action(window, "actionStart")->trigger();
        expectIdle(window);
        QCOMPARE(Fake::called("startStreaming"), !allocationFails);
        // Still idle: the next click tries to start again.
        Fake::clearCalls();
        Probe::action(window, "actionStart")->trigger();
        QVERIFY(Fake::called("allocateBuffers(2)"));
    }

    void failedStopKeepsStreamingLayoutWithTimerStopped_data()
    {
        QTest::addColumn<bool>("stopFails");
        QTest::newRow("stopStreaming") << true;
        QTest::newRow("releaseBuffers") << false;
    }

    void failedStopKeepsStreamingLayoutWithTimerStopped()
    {
        QFETCH(bool, stopFails);
        Fake::Layer::instance().devices.push_back(cameraWithInterval(1, 30));
        MainWindow window;
        auto* camera = Fake::Layer::instance().camera();
        Probe::action(window, "actionStart")->trigger();
        (stopFails ? camera->stopResult : camera->releaseResult) = -5;

        Fake::clearCalls();
        Probe::action(window, "actionStart")->trigger();
        const Layout l = layoutOf(window);
        QVERIFY(l.streamingIcon);
        QVERIFY(!l.combosEnabled);
        QVERIFY(l.snapshotEnabled);
        QVERIFY(!l.timerActive);
        QCOMPARE(Fake::called("releaseBuffers"), !stopFails);

        // Still streaming as far as the window knows: the next click stops again.
        camera->stopResult = camera->releaseResult = 0;
        Fake::clearCalls();
        Probe::action(window, "actionStart")->trigger();
        QVERIFY(Fake::called("stopStreaming"));
        expectIdle(window);
    }

    void startWithoutCameraChangesNothing()
    {
        MainWindow window;
        Probe::action(window, "actionStart")->trigger();
        expectIdle(window);
        Probe::action(window, "actionReset")->trigger();
        QVERIFY(!Fake::called("reset"));
    }

    void resetKeepsTheStream()
    {
        Fake::Layer::instance().devices.push_back(cameraWithInterval(1, 30));
        MainWindow window;
        Probe::action(window, "actionStart")->trigger();
        Probe::action(window, "actionReset")->trigger();
        QCOMPARE(Fake::count("reset"), 1);
        expectStreaming(window);
        QVERIFY(!Fake::called("stopStreaming"));
    }

    void plugEventWhileStreamingStopsAndReopens_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<bool>("fromAnotherThread");
        QTest::newRow("added") << int(ICameraEvent::CameraAdded) << false;
        QTest::newRow("removed") << int(ICameraEvent::CameraRemoved) << false;
        QTest::newRow("added, from the monitor's thread") << int(ICameraEvent::CameraAdded) << true;
    }

    void plugEventWhileStreamingStopsAndReopens()
    {
        QFETCH(int, kind);
        QFETCH(bool, fromAnotherThread);
        auto& layer = Fake::Layer::instance();
        layer.devices.push_back(cameraWithInterval(1, 30));
        MainWindow window;
        QSignalSpy closing(&window, SIGNAL(cameraAddedOrRemoved()));
        Probe::action(window, "actionStart")->trigger();
        auto* before = layer.camera();
        Fake::clearCalls();

        if (fromAnotherThread) {
            std::thread monitorThread([&] { layer.emitEvent(kind); });
            monitorThread.join();
            QCOMPARE(layer.eventsDeleted.load(), 0); // queued, not yet handled
            QTRY_COMPARE(layer.eventsDeleted.load(), 1);
        } else {
            layer.emitEvent(kind);
        }
        QCOMPARE(layer.eventsCreated.load(), 1);
        QCOMPARE(layer.eventsDeleted.load(), 1);
        QCOMPARE(closing.count(), 1);
        const auto calls = Fake::calls();
        QCOMPARE(calls[0], std::string("stopStreaming"));
        QCOMPARE(calls[1], std::string("releaseBuffers"));
        QVERIFY(Fake::called("getDeviceList"));
        QVERIFY(Fake::called("~Camera(cam)"));
        QVERIFY(layer.camera() != nullptr);
        QVERIFY(layer.camera() != before || layer.liveCameras.size() == 1);
        // The forced stop leaves Snapshot as it was; the stream is not restarted.
        expectIdle(window, true);
        QVERIFY(!Fake::called("startStreaming"));
    }

    void plugEventWhileIdleReopens()
    {
        auto& layer = Fake::Layer::instance();
        layer.devices.push_back(cameraWithInterval(1, 30));
        MainWindow window;
        window.findChild<Console*>("console")->putData("chatter");
        Fake::clearCalls();
        layer.emitEvent(ICameraEvent::CameraRemoved);
        QVERIFY(!Fake::called("stopStreaming"));
        QVERIFY(Fake::called("~Camera(cam)"));
        QVERIFY(Fake::called("createCamera(cam)"));
        QVERIFY(window.findChild<Console*>("console")->toPlainText().isEmpty());
        QCOMPARE(layer.eventsDeleted.load(), 1);
        expectIdle(window);
    }

    void otherEventKindsAreOnlyDeleted()
    {
        auto& layer = Fake::Layer::instance();
        layer.devices.push_back(cameraWithInterval(1, 30));
        MainWindow window;
        QSignalSpy closing(&window, SIGNAL(cameraAddedOrRemoved()));
        Probe::action(window, "actionStart")->trigger();
        Fake::clearCalls();
        for (int kind : {0, 3, -1, 42})
            layer.emitEvent(kind);
        QCOMPARE(layer.eventsDeleted.load(), 4);
        QCOMPARE(closing.count(), 0);
        QVERIFY(Fake::calls().empty());
        expectStreaming(window);
    }

    void eventsStillQueuedWhenTheWindowGoesAreNotLeaked()
    {
        auto& layer = Fake::Layer::instance();
        {
            MainWindow window;
            std::thread monitorThread([&] { layer.emitEvent(ICameraEvent::CameraAdded); });
            monitorThread.join();
        }
        // The queued call dies with its receiver, unseen; the event must not leak.
        QCOMPARE(layer.eventsCreated.load(), 1);
        QCOMPARE(layer.eventsDeleted.load(), 1);
    }

    void lastDeviceUnpluggedKeepsTheOldCamera()
    {
        auto& layer = Fake::Layer::instance();
        layer.devices.push_back(cameraWithInterval(1, 30));
        MainWindow window;
        Probe::action(window, "actionStart")->trigger();
        layer.devices.clear();
        layer.emitEvent(ICameraEvent::CameraRemoved);
        QCOMPARE(Probe::combos(window)[0]->count(), 0);
        QCOMPARE(layer.liveCameras.size(), size_t(1));
        expectIdle(window, true);
    }

    void quitWhileStreamingStopsFirst()
    {
        auto& layer = Fake::Layer::instance();
        layer.devices.push_back(cameraWithInterval(1, 30));
        MainWindow window;
        window.show();
        Probe::action(window, "actionStart")->trigger();
        Fake::clearCalls();
        Probe::action(window, "actionQuit")->trigger();
        QCOMPARE(Fake::calls(), std::vector<std::string>({"monitor.stop", "stopStreaming", "releaseBuffers"}));
        QVERIFY(!window.isVisible());
    }
};

QTEST_MAIN(TestStreaming)
#include "test_streaming.moc"
