#include "windowprobe.h"

using Fake::DeviceSpec;
using Fake::PixelFormat;
using Fake::Resolution;

namespace {

DeviceSpec device(const std::string& name, std::vector<PixelFormat> formats = {PixelFormat()})
{
    DeviceSpec spec;
    spec.name = name;
    spec.formats = std::move(formats);
    return spec;
}

// Two resolutions, the first with two intervals.
const std::vector<Resolution> two{Resolution(640, 480, {{1, 30}, {1, 15}}), Resolution(320, 240)};

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
        QTest::newRow("the first maker's camera") << QList<bool>{false, true, true} << 1;
    }

    void defaultDevice()
    {
        QFETCH(QList<bool>, kelvane);
        QFETCH(int, expected);
        for (int i = 0; i < kelvane.size(); ++i) {
            Fake::Layer::instance().devices.push_back(device("Camera " + std::to_string(i)));
            Fake::Layer::instance().devices.back().kelvane = kelvane[i];
        }
        MainWindow window;
        QCOMPARE(Probe::combos(window)[0]->currentIndex(), expected);
        QCOMPARE(Fake::count("createCamera("), 1);
        QVERIFY(Fake::called("createCamera(Camera " + std::to_string(expected) + ")"));
    }

    void noDeviceOrNoNames()
    {
        {
            MainWindow window;
            for (QComboBox* combo : Probe::combos(window))
                QCOMPARE(combo->count(), 0);
            Fake::clearCalls();
            QTest::qWait(1300);
            QVERIFY(!Fake::called("getDeviceList")); // no retry without a device
        }
        Fake::Layer::instance().devices = {device("ignored")};
        Fake::Layer::instance().devices[0].nullTexts = true;
        MainWindow window;
        QCOMPARE(Probe::items(Probe::combos(window)[0]), QStringList{QString()});
    }

    void formatPreference_data()
    {
        QTest::addColumn<QStringList>("formats");
        QTest::addColumn<int>("expected");
        // Letter case matters; of the two preferred formats the last one listed wins.
        QTest::newRow("last preferred") << QStringList{"YUYV", "RGB3", "BGR3", "rgb3", "Y16"} << 2;
        QTest::newRow("none: the camera's own") << QStringList{"YUYV", "MJPG", "bgr3"} << 1;
    }

    void formatPreference()
    {
        QFETCH(QStringList, formats);
        QFETCH(int, expected);
        DeviceSpec spec = device("cam", {});
        for (const QString& f : formats)
            spec.formats.emplace_back(f.toStdString());
        spec.currentFormat = 1;
        Fake::Layer::instance().devices = {spec};
        MainWindow window;
        QCOMPARE(Fake::Layer::instance().camera()->currentFormat, expected);
        QCOMPARE(Probe::combos(window)[1]->currentIndex(), expected);
    }

    void cascadeTextsToolTipsAndEmptyLists()
    {
        PixelFormat mjpg("MJPG",
                         {Resolution(1280, 720, {{1, 30}, {1, 15}, {2, 15}, {1, 5}}), Resolution(320, 240, {{1, 60}})});
        mjpg.compressed = true;
        PixelFormat both("XXXX", {Resolution(160, 120, {})});
        both.compressed = both.emulated = true;
        PixelFormat rgb;
        rgb.emulated = true;
        Fake::Layer::instance().devices = {device("cam", {mjpg, both, rgb, PixelFormat("GREY", {})})};
        MainWindow window;
        auto combos = Probe::combos(window);
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
        QCOMPARE(Fake::Layer::instance().camera()->currentInterval, 2);
        // A new resolution starts at its first interval.
        Fake::clearCalls();
        combos[2]->setCurrentIndex(1);
        QCOMPARE(Fake::calls().front(), std::string("setFormat(0,1,0)"));
        QCOMPARE(Probe::items(combos[3]), QStringList{"0.017 (60 fps)"});

        combos[1]->setCurrentIndex(1);
        QCOMPARE(combos[1]->toolTip(), QString("XXXX (Compressed) (Emulated)"));
        QCOMPARE(Probe::items(combos[2]), QStringList{"160x120"});
        // An empty list of intervals disables its box until there are some again.
        QCOMPARE(combos[3]->count(), 0);
        QVERIFY(!combos[3]->isEnabled());
        combos[1]->setCurrentIndex(0);
        QVERIFY(combos[3]->isEnabled());
        combos[1]->setCurrentIndex(3);
        QCOMPARE(combos[2]->count() + combos[3]->count(), 0);
        QVERIFY(!combos[3]->isEnabled());
    }

    void refusals()
    {
        Fake::Layer::instance().devices = {device("cam", {PixelFormat("YUYV"), PixelFormat("RGB3", two)})};
        MainWindow window;
        auto combos = Probe::combos(window);
        Fake::Layer::instance().camera()->refuseSetFormat = true;
        // A refused resolution or interval is left showing the user's choice.
        combos[3]->setCurrentIndex(1);
        QCOMPARE(combos[3]->currentIndex(), 1);
        combos[2]->setCurrentIndex(1);
        QCOMPARE(combos[2]->currentIndex(), 1);
        // A refused format makes the list be rebuilt from the camera.
        combos[1]->setCurrentIndex(0);
        QCOMPARE(combos[1]->currentIndex(), 1);
    }

    void choosingADeviceReopensAndRefills()
    {
        auto& layer = Fake::Layer::instance();
        layer.devices = {device("first"), device("second", {PixelFormat("YUYV", two), PixelFormat("RGB3", two)})};
        MainWindow window;
        window.findChild<Console*>("console")->putData("old camera's chatter");
        Fake::clearCalls();
        Probe::combos(window)[0]->setCurrentIndex(1);
        QVERIFY(position("~Camera(first)") < position("createCamera(second)"));
        QCOMPARE(layer.liveCameras.size(), size_t(1));
        QCOMPARE(Probe::items(Probe::combos(window)[1]), QStringList({"YUYV", "RGB3"}));
        QVERIFY(Probe::consoleText(window).isEmpty());
        // Refilling the lists applies the preference only, never the indexes
        // they pass through on the way.
        QCOMPARE(Fake::count("setFormat("), 1);
        QVERIFY(Fake::called("setFormat(1,0,0)"));
    }

    void failedOpeningRetriesEverySecond()
    {
        auto& layer = Fake::Layer::instance();
        layer.devices = {device("busy")};
        layer.devices[0].failOpen = true;
        MainWindow window;
        QAction* settings = window.findChild<QAction*>("actionSettings");
        QVERIFY(!settings->isEnabled());
        layer.devices[0].failOpen = false;
        QTRY_COMPARE_WITH_TIMEOUT(Fake::count("createCamera(busy)"), 2, 3000);
        QVERIFY(settings->isEnabled());
        Fake::clearCalls();
        QTest::qWait(1300);
        QVERIFY(!Fake::called("createCamera"));
    }
};

QTEST_MAIN(TestSelection)
#include "test_selection.moc"
