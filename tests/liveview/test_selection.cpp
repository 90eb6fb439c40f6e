#include "windowprobe.h"

using Fake::DeviceSpec;
using Fake::FormatSpec;
using Fake::ResolutionSpec;

namespace {

DeviceSpec device(const std::string& name, bool kelvane = false)
{
    DeviceSpec spec;
    spec.name = name;
    spec.kelvane = kelvane;
    return spec;
}

FormatSpec format(const std::string& description, std::vector<ResolutionSpec> resolutions = {ResolutionSpec{}})
{
    FormatSpec spec;
    spec.fourcc = description == "Motion-JPEG" ? "MJPG" : description;
    spec.description = description;
    spec.resolutions = std::move(resolutions);
    return spec;
}

ResolutionSpec resolution(unsigned w, unsigned h, std::vector<Fake::IntervalSpec> intervals = {{1, 30}})
{
    ResolutionSpec spec;
    spec.width = w;
    spec.height = h;
    spec.bytesPerLine = int(w * 3);
    spec.intervals = std::move(intervals);
    return spec;
}

// Counts calls of the window's user-choice slots by watching what they do to the camera.
int setFormatCalls()
{
    return Fake::count("setFormat(");
}

} // namespace

class TestSelection : public QObject
{
    Q_OBJECT

private slots:
    void init() { Fake::Layer::instance().reset(); }

    void defaultDevice_data()
    {
        QTest::addColumn<QList<bool>>("kelvane");
        QTest::addColumn<int>("expected");
        QTest::newRow("no maker's camera: the first") << QList<bool>{false, false} << 0;
        QTest::newRow("A, B, C: the first maker's camera") << QList<bool>{false, true, true} << 1;
        QTest::newRow("B, C: index 0") << QList<bool>{true, true} << 0;
        QTest::newRow("one device") << QList<bool>{false} << 0;
    }

    void defaultDevice()
    {
        QFETCH(QList<bool>, kelvane);
        QFETCH(int, expected);
        auto& layer = Fake::Layer::instance();
        for (int i = 0; i < kelvane.size(); ++i)
            layer.devices.push_back(device("Camera " + std::to_string(i), kelvane[i]));

        MainWindow window;
        QComboBox* devices = Probe::combos(window)[0];
        QCOMPARE(devices->count(), kelvane.size());
        QCOMPARE(devices->itemText(1 % kelvane.size()), QString("Camera %1").arg(1 % kelvane.size()));
        QCOMPARE(devices->currentIndex(), expected);
        QCOMPARE(Fake::count("createCamera("), 1);
        QVERIFY(Fake::called("createCamera(Camera " + std::to_string(expected) + ")"));
        QCOMPARE(layer.liveCameras.size(), size_t(1));
    }

    void noDeviceOpensNothingAndNeverRetries()
    {
        MainWindow window;
        for (QComboBox* combo : Probe::combos(window))
            QCOMPARE(combo->count(), 0);
        QVERIFY(!Fake::called("createCamera"));
        Fake::clearCalls();
        QTest::qWait(1300);
        QVERIFY(!Fake::called("getDeviceList"));
    }

    void missingNameReadsEmpty()
    {
        auto spec = device("ignored");
        spec.nullTexts = true;
        Fake::Layer::instance().devices.push_back(spec);
        MainWindow window;
        QCOMPARE(Probe::items(Probe::combos(window)[0]), QStringList{QString()});
    }

    void lastPreferredFormatWins()
    {
        auto spec = device("cam");
        spec.formats = {format("YUYV"), format("Motion-JPEG"), format("RGB3"), format("GREY"), format("rgb3"),
                        format("BGR3"), format("Y16")};
        Fake::Layer::instance().devices.push_back(spec);

        MainWindow window;
        auto* camera = Fake::Layer::instance().camera();
        QCOMPARE(camera->currentFormat, 5);
        QCOMPARE(camera->currentResolution, 0);
        QCOMPARE(camera->currentInterval, 0);
        QComboBox* formats = Probe::combos(window)[1];
        QCOMPARE(Probe::items(formats),
                 QStringList({"YUYV", "Motion-JPEG", "RGB3", "GREY", "rgb3", "BGR3", "Y16"}));
        QCOMPARE(formats->currentIndex(), 5);
        // Every preferred format met is made current in turn, the case-different one is not.
        const auto calls = Fake::calls();
        QVERIFY(std::count(calls.begin(), calls.end(), "setFormat(2,0,0)") == 1);
        QVERIFY(std::count(calls.begin(), calls.end(), "setFormat(5,0,0)") == 1);
        QVERIFY(std::count(calls.begin(), calls.end(), "setFormat(4,0,0)") == 0);
    }

    void withoutPreferredFormatTheCameraKeepsItsOwn()
    {
        auto spec = device("cam");
        spec.formats = {format("YUYV"), format("Motion-JPEG")};
        spec.currentFormat = 1;
        Fake::Layer::instance().devices.push_back(spec);
        MainWindow window;
        QCOMPARE(setFormatCalls(), 0);
        QCOMPARE(Probe::combos(window)[1]->currentIndex(), 1);
    }

    void listsAndToolTips()
    {
        auto spec = device("cam");
        FormatSpec mjpg = format("Motion-JPEG", {resolution(1280, 720, {{1, 30}, {1, 15}, {2, 15}, {1, 5}}),
                                                 resolution(640, 480)});
        mjpg.compressed = true;
        FormatSpec rgb = format("RGB3");
        rgb.emulated = true;
        FormatSpec both = format("XXXX");
        both.compressed = both.emulated = true;
        spec.formats = {mjpg, both, rgb};
        Fake::Layer::instance().devices.push_back(spec);

        MainWindow window;
        auto combos = Probe::combos(window);
        QCOMPARE(combos[1]->toolTip(), QString("RGB3 (Emulated)"));
        Fake::Layer::instance().camera()->setFormat(0, 0, 0);

        combos[1]->setCurrentIndex(0);
        QCOMPARE(combos[1]->toolTip(), QString("MJPG (Compressed)"));
        QCOMPARE(Probe::items(combos[2]), QStringList({"1280x720", "640x480"}));
        QCOMPARE(Probe::items(combos[3]),
                 QStringList({"0.033 (30 fps)", "0.067 (15 fps)", "0.133 (7.5 fps)", "0.200 (5 fps)"}));
        combos[1]->setCurrentIndex(1);
        QCOMPARE(combos[1]->toolTip(), QString("XXXX (Compressed) (Emulated)"));
    }

    void cascadeFollowsTheCamera()
    {
        auto spec = device("cam");
        spec.formats = {format("RGB3", {resolution(640, 480, {{1, 30}, {1, 15}}), resolution(320, 240, {{1, 60}})}),
                        format("GREY", {resolution(160, 120, {{1, 10}})})};
        Fake::Layer::instance().devices.push_back(spec);
        MainWindow window;
        auto combos = Probe::combos(window);
        auto* camera = Fake::Layer::instance().camera();

        combos[3]->setCurrentIndex(1);
        QVERIFY(Fake::called("setFormat(0,0,1)"));
        QCOMPARE(camera->currentInterval, 1);

        // A new resolution starts at its first interval.
        Fake::clearCalls();
        combos[2]->setCurrentIndex(1);
        QCOMPARE(Fake::calls().front(), std::string("setFormat(0,1,0)"));
        QCOMPARE(Probe::items(combos[3]), QStringList{"0.017 (60 fps)"});
        QCOMPARE(combos[3]->currentIndex(), 0);

        // A new format starts at its first resolution and interval.
        combos[1]->setCurrentIndex(1);
        QCOMPARE(camera->currentFormat, 1);
        QCOMPARE(Probe::items(combos[2]), QStringList{"160x120"});
        QCOMPARE(Probe::items(combos[3]), QStringList{"0.100 (10 fps)"});
        QCOMPARE(combos[1]->toolTip(), QString("GREY"));
    }

    void refusedFormatRebuildsTheList()
    {
        auto spec = device("cam");
        spec.formats = {format("YUYV"), format("RGB3")};
        Fake::Layer::instance().devices.push_back(spec);
        MainWindow window;
        auto combos = Probe::combos(window);
        auto* camera = Fake::Layer::instance().camera();
        camera->refuseSetFormat = true;
        Fake::clearCalls();

        combos[1]->setCurrentIndex(0);
        // The list is rebuilt from the camera, which still runs RGB3.
        QCOMPARE(combos[1]->currentIndex(), 1);
        QCOMPARE(combos[1]->count(), 2);
        QCOMPARE(Fake::count("setFormat("), 2); // the user's choice, then the preference again
    }

    void refusedResolutionOrIntervalIsIgnored()
    {
        auto spec = device("cam");
        spec.formats = {format("RGB3", {resolution(640, 480, {{1, 30}, {1, 15}}), resolution(320, 240)})};
        Fake::Layer::instance().devices.push_back(spec);
        MainWindow window;
        auto combos = Probe::combos(window);
        Fake::Layer::instance().camera()->refuseSetFormat = true;
        combos[3]->setCurrentIndex(1);
        QCOMPARE(combos[3]->currentIndex(), 1);
        combos[2]->setCurrentIndex(1);
        QCOMPARE(combos[2]->currentIndex(), 1);
    }

    void resolutionWithoutIntervalsDisablesTheIntervalList()
    {
        auto spec = device("cam");
        spec.formats = {format("RGB3", {resolution(640, 480), resolution(320, 240, {})})};
        Fake::Layer::instance().devices.push_back(spec);
        MainWindow window;
        auto combos = Probe::combos(window);
        combos[2]->setCurrentIndex(1);
        QCOMPARE(combos[3]->count(), 0);
        QVERIFY(!combos[3]->isEnabled());
        combos[2]->setCurrentIndex(0);
        QCOMPARE(combos[3]->count(), 1);
        QVERIFY(combos[3]->isEnabled());
    }

    void formatWithoutResolutionsLeavesBothListsEmpty()
    {
        auto spec = device("cam");
        spec.formats = {format("RGB3", {})};
        Fake::Layer::instance().devices.push_back(spec);
        MainWindow window;
        auto combos = Probe::combos(window);
        QCOMPARE(combos[2]->count(), 0);
        QCOMPARE(combos[3]->count(), 0);
        QVERIFY(!combos[3]->isEnabled());
    }

    void zeroDenominatorDoesNotCrash()
    {
        auto spec = device("cam");
        spec.formats = {format("RGB3", {resolution(64, 48, {{1, 0}})})};
        Fake::Layer::instance().devices.push_back(spec);
        MainWindow window;
        QCOMPARE(Probe::combos(window)[3]->count(), 1);
        Probe::action(window, "actionStart")->trigger();
        QTimer* timer = Probe::refreshTimer(window);
        QVERIFY(timer->isActive());
        QVERIFY(timer->interval() > 0);
    }

    void choosingADeviceReopensAndRefills()
    {
        auto& layer = Fake::Layer::instance();
        auto first = device("first");
        first.formats = {format("RGB3")};
        auto second = device("second");
        second.formats = {format("YUYV"), format("GREY")};
        layer.devices = {first, second};
        MainWindow window;
        window.findChild<Console*>("console")->putData("old camera's chatter");

        Fake::clearCalls();
        Probe::combos(window)[0]->setCurrentIndex(1);
        // The old camera is released before the new one is opened.
        const auto calls = Fake::calls();
        const auto at = [&](const std::string& c) { return std::find(calls.begin(), calls.end(), c) - calls.begin(); };
        QVERIFY(at("~Camera(first)") < at("createCamera(second)"));
        QCOMPARE(layer.liveCameras.size(), size_t(1));
        QCOMPARE(Probe::items(Probe::combos(window)[1]), QStringList({"YUYV", "GREY"}));
        QVERIFY(window.findChild<Console*>("console")->toPlainText().isEmpty());
    }

    void failedOpeningRetriesEverySecond()
    {
        auto& layer = Fake::Layer::instance();
        auto spec = device("busy");
        spec.failOpen = true;
        layer.devices.push_back(spec);
        MainWindow window;
        QVERIFY(!Probe::action(window, "actionSettings")->isEnabled());
        QCOMPARE(Fake::count("createCamera(busy)"), 1);

        // Once the device is free again, the next retry opens it.
        layer.devices[0].failOpen = false;
        QTRY_COMPARE_WITH_TIMEOUT(Fake::count("createCamera(busy)"), 2, 3000);
        QCOMPARE(layer.liveCameras.size(), size_t(1));
        QVERIFY(Probe::action(window, "actionSettings")->isEnabled());
        Fake::clearCalls();
        QTest::qWait(1300);
        QVERIFY(!Fake::called("createCamera"));
    }

    void refillsNeverReachTheChoiceSlots()
    {
        auto& layer = Fake::Layer::instance();
        auto spec = device("cam");
        spec.formats = {format("YUYV", {resolution(640, 480, {{1, 30}, {1, 15}}), resolution(320, 240)}),
                        format("RGB3", {resolution(640, 480, {{1, 30}, {1, 15}}), resolution(320, 240)})};
        layer.devices = {spec, spec};
        MainWindow window;
        // A user's choice would call setFormat with resolution or interval
        // indexes from the combo boxes; refills only apply the preference.
        layer.emitEvent(ImageAcquisition::ICameraEvent::CameraAdded);
        for (const std::string& c : Fake::calls()) {
            if (c.rfind("setFormat(", 0) == 0)
                QCOMPARE(c, std::string("setFormat(1,0,0)"));
        }
        QCOMPARE(Fake::count("createCamera("), 2);
    }
};

QTEST_MAIN(TestSelection)
#include "test_selection.moc"
