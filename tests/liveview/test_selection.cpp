#include "windowprobe.h"

using Fake::DeviceSpec;
using Fake::FormatSpec;
using Fake::ResolutionSpec;

namespace {

DeviceSpec device(const std::string& name, std::vector<FormatSpec> formats = {FormatSpec{}}, bool kelvane = false)
{
    DeviceSpec spec;
    spec.name = name;
    spec.formats = std::move(formats);
    spec.kelvane = kelvane;
    return spec;
}

FormatSpec format(const std::string& description, std::vector<ResolutionSpec> resolutions = {ResolutionSpec{}})
{
    FormatSpec spec;
    spec.fourcc = spec.description = description;
    spec.resolutions = std::move(resolutions);
    return spec;
}

ResolutionSpec resolution(unsigned w, unsigned h, std::vector<Fake::IntervalSpec> intervals = {{1, 30}})
{
    return ResolutionSpec{w, h, int(w * 3), std::move(intervals)};
}

size_t position(const std::string& call)
{
    const auto calls = Fake::calls();
    return size_t(std::find(calls.begin(), calls.end(), call) - calls.begin());
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
    }

    void defaultDevice()
    {
        QFETCH(QList<bool>, kelvane);
        QFETCH(int, expected);
        for (int i = 0; i < kelvane.size(); ++i)
            Fake::Layer::instance().devices.push_back(device("Camera " + std::to_string(i), {FormatSpec{}}, kelvane[i]));
        MainWindow window;
        QComboBox* devices = Probe::combos(window)[0];
        QCOMPARE(devices->itemText(1), QString("Camera 1"));
        QCOMPARE(devices->currentIndex(), expected);
        QCOMPARE(Fake::count("createCamera("), 1);
        QVERIFY(Fake::called("createCamera(Camera " + std::to_string(expected) + ")"));
    }

    void noDeviceOpensNothingAndNeverRetries()
    {
        MainWindow window;
        for (QComboBox* combo : Probe::combos(window))
            QCOMPARE(combo->count(), 0);
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
        Fake::Layer::instance().devices.push_back(device(
            "cam", {format("YUYV"), format("MJPG"), format("RGB3"), format("rgb3"), format("BGR3"), format("Y16")}));
        MainWindow window;
        auto* camera = Fake::Layer::instance().camera();
        QCOMPARE(camera->currentFormat, 4);
        QCOMPARE(Probe::combos(window)[1]->currentIndex(), 4);
        // Each preferred format met is made current in turn; letter case matters.
        QCOMPARE(Fake::count("setFormat("), 2);
        QVERIFY(position("setFormat(2,0,0)") < position("setFormat(4,0,0)"));
    }

    void withoutPreferredFormatTheCameraKeepsItsOwn()
    {
        auto spec = device("cam", {format("YUYV"), format("MJPG")});
        spec.currentFormat = 1;
        Fake::Layer::instance().devices.push_back(spec);
        MainWindow window;
        QCOMPARE(Fake::count("setFormat("), 0);
        QCOMPARE(Probe::combos(window)[1]->currentIndex(), 1);
    }

    void cascadeTextsAndToolTips()
    {
        FormatSpec mjpg = format("MJPG", {resolution(1280, 720, {{1, 30}, {1, 15}, {2, 15}, {1, 5}}),
                                          resolution(320, 240, {{1, 60}})});
        mjpg.compressed = true;
        FormatSpec both = format("XXXX", {resolution(160, 120, {{1, 10}})});
        both.compressed = both.emulated = true;
        FormatSpec rgb = format("RGB3");
        rgb.emulated = true;
        Fake::Layer::instance().devices.push_back(device("cam", {mjpg, both, rgb}));
        MainWindow window;
        auto combos = Probe::combos(window);
        auto* camera = Fake::Layer::instance().camera();
        QCOMPARE(combos[1]->toolTip(), QString("RGB3 (Emulated)"));

        // A new format starts at its first resolution and interval.
        Fake::clearCalls();
        combos[1]->setCurrentIndex(0);
        QCOMPARE(Fake::calls().front(), std::string("setFormat(0,0,0)"));
        QCOMPARE(combos[1]->toolTip(), QString("MJPG (Compressed)"));
        QCOMPARE(Probe::items(combos[2]), QStringList({"1280x720", "320x240"}));
        QCOMPARE(Probe::items(combos[3]),
                 QStringList({"0.033 (30 fps)", "0.067 (15 fps)", "0.133 (7.5 fps)", "0.200 (5 fps)"}));

        combos[3]->setCurrentIndex(2);
        QCOMPARE(camera->currentInterval, 2);
        // A new resolution starts at its first interval; the list follows the camera.
        Fake::clearCalls();
        combos[2]->setCurrentIndex(1);
        QCOMPARE(Fake::calls().front(), std::string("setFormat(0,1,0)"));
        QCOMPARE(Probe::items(combos[3]), QStringList{"0.017 (60 fps)"});

        combos[1]->setCurrentIndex(1);
        QCOMPARE(combos[1]->toolTip(), QString("XXXX (Compressed) (Emulated)"));
        QCOMPARE(Probe::items(combos[2]), QStringList{"160x120"});
    }

    void refusals()
    {
        Fake::Layer::instance().devices.push_back(
            device("cam", {format("YUYV"), format("RGB3", {resolution(640, 480, {{1, 30}, {1, 15}}), resolution(320, 240)})}));
        MainWindow window;
        auto combos = Probe::combos(window);
        Fake::Layer::instance().camera()->refuseSetFormat = true;

        // A refused resolution or interval is left showing the user's choice.
        combos[3]->setCurrentIndex(1);
        QCOMPARE(combos[3]->currentIndex(), 1);
        combos[2]->setCurrentIndex(1);
        QCOMPARE(combos[2]->currentIndex(), 1);

        // A refused format makes the list be rebuilt from the camera.
        Fake::clearCalls();
        combos[1]->setCurrentIndex(0);
        QCOMPARE(combos[1]->currentIndex(), 1);
        QCOMPARE(Fake::count("setFormat("), 2); // the user's choice, then the preference again
    }

    void emptyListsDisableTheIntervals()
    {
        Fake::Layer::instance().devices.push_back(
            device("cam", {format("RGB3", {resolution(640, 480), resolution(320, 240, {})}), format("GREY", {})}));
        MainWindow window;
        auto combos = Probe::combos(window);
        combos[2]->setCurrentIndex(1);
        QCOMPARE(combos[3]->count(), 0);
        QVERIFY(!combos[3]->isEnabled());
        combos[2]->setCurrentIndex(0);
        QVERIFY(combos[3]->isEnabled());
        // A format without resolutions leaves both lists empty.
        combos[1]->setCurrentIndex(1);
        QCOMPARE(combos[2]->count(), 0);
        QCOMPARE(combos[3]->count(), 0);
        QVERIFY(!combos[3]->isEnabled());
    }

    void zeroDenominatorDoesNotCrash()
    {
        Fake::Layer::instance().devices.push_back(device("cam", {format("RGB3", {resolution(64, 48, {{1, 0}})})}));
        MainWindow window;
        QCOMPARE(Probe::combos(window)[3]->count(), 1);
        Probe::action(window, "actionStart")->trigger();
        QVERIFY(Probe::refreshTimer(window)->isActive());
        QVERIFY(Probe::refreshTimer(window)->interval() > 0);
    }

    void choosingADeviceReopensAndRefills()
    {
        auto& layer = Fake::Layer::instance();
        layer.devices = {device("first"), device("second", {format("YUYV"), format("GREY")})};
        MainWindow window;
        window.findChild<Console*>("console")->putData("old camera's chatter");
        Fake::clearCalls();
        Probe::combos(window)[0]->setCurrentIndex(1);
        QVERIFY(position("~Camera(first)") < position("createCamera(second)"));
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
        layer.devices[0].failOpen = false;
        QTRY_COMPARE_WITH_TIMEOUT(Fake::count("createCamera(busy)"), 2, 3000);
        QVERIFY(Probe::action(window, "actionSettings")->isEnabled());
        Fake::clearCalls();
        QTest::qWait(1300);
        QVERIFY(!Fake::called("createCamera"));
    }

    void refillsNeverReachTheChoiceSlots()
    {
        auto& layer = Fake::Layer::instance();
        const auto spec = device("cam", {format("YUYV", {resolution(640, 480, {{1, 30}, {1, 15}}), resolution(320, 240)}),
                                         format("RGB3", {resolution(640, 480, {{1, 30}, {1, 15}}), resolution(320, 240)})});
        layer.devices = {spec, spec};
        MainWindow window;
        layer.emitEvent(ImageAcquisition::ICameraEvent::CameraAdded);
        // A user's choice would pass indexes read from the combo boxes;
        // refills only apply the preference.
        for (const std::string& c : Fake::calls()) {
            if (c.rfind("setFormat(", 0) == 0)
                QCOMPARE(c, std::string("setFormat(1,0,0)"));
        }
        QCOMPARE(Fake::count("createCamera("), 2);
    }
};

QTEST_MAIN(TestSelection)
#include "test_selection.moc"
