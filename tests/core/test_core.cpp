// The control core on the virtual camera: choosing a camera, validated
// writes, and profiles, including what must be refused before any write.
#include <badinput.h>
#include <cameracontrols.h>
#include <cameraselector.h>
#include <controlvalueparser.h>
#include <controlwriter.h>
#include <formatchoice.h>
#include <nosuchcamera.h>
#include <opencamera.h>
#include <profile.h>
#include <refused.h>

#include <imageacquisition/imageacquisition.h>
#include <imageacquisition/virtualcameras.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

using namespace Tarvello;

namespace {

CameraEntry entry(int index, QString node, QString name, QString serial, QString bus, bool kelvane)
{
    CameraEntry e;
    e.index = index;
    e.node = node;
    e.name = name;
    e.serial = serial;
    e.busInfo = bus;
    e.kelvane = kelvane;
    return e;
}

QString valueOf(ImageAcquisition::ICamera& camera, const QString& name)
{
    return ControlDescription::of(CameraControls(camera).find(name)).valueText();
}

template <typename Error, typename Call>
QString messageOf(Call call)
{
    try {
        call();
    } catch (const Error& error) {
        return error.message();
    }
    return QString("(nothing thrown)");
}

} // namespace

class TestCtlCore : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("IMAGEACQUISITION_VIRTUAL_CAMERAS", "2"); }

    void formatRequestsAreReadFromTextStrictly()
    {
        const FormatChoice::Request request = FormatChoice::requestFromText("MJPG", "1280x720", "1/30", "");
        QCOMPARE(*request.fourcc, QString("MJPG"));
        QCOMPARE(*request.size, FormatChoice::Size(1280, 720));
        QCOMPARE(*request.interval, FormatChoice::Interval(1, 30));
        QVERIFY(!request.rate);
        QVERIFY(!FormatChoice::requestFromText("", "", "", "").fourcc);
        QCOMPARE(*FormatChoice::requestFromText("", "", "", "29.97").rate, 29.97);
        QVERIFY(messageOf<BadInput>([] { FormatChoice::requestFromText("", "1280", "", ""); }).contains("WIDTHxHEIGHT"));
        QVERIFY(messageOf<BadInput>([] { FormatChoice::requestFromText("", "", "30", ""); }).contains("N/D"));
        QVERIFY(messageOf<BadInput>([] { FormatChoice::requestFromText("", "", "", "-5"); }).contains("positive"));
        QVERIFY(messageOf<BadInput>([] { Profile::readFile("/nonexistent/lab.json"); })
                    .startsWith("Cannot read /nonexistent/lab.json"));
    }

    void selectorMatchesEachWayAndRefusesAmbiguity()
    {
        const CameraSelector selector({
            entry(0, "/dev/video0", "USB Webcam", "A1", "usb-0000:00:14.0-1", false),
            entry(1, "/dev/video2", "Kelvane KVC-1080", "KV-7", "usb-0000:00:14.0-2", true),
            entry(2, "/dev/video4", "Kelvane KVC-4K", "2", "usb-0000:00:14.0-3", true),
        });
        QCOMPARE(selector.select(""), 1); // the maker's first camera, as the window picks
        QCOMPARE(selector.select("2"), 2);
        QCOMPARE(selector.select("/dev/video2"), 1);
        QCOMPARE(selector.select("video4"), 2);
        QCOMPARE(selector.select("KV-7"), 1);
        QCOMPARE(selector.select("usb-0000:00:14.0-1"), 0);
        QCOMPARE(selector.select("webcam"), 0);

        const QString several = messageOf<NoSuchCamera>([&] { selector.select("kelvane"); });
        QVERIFY2(several.contains("several") && several.contains("KVC-1080") && several.contains("KVC-4K")
                     && !several.contains("Webcam"),
                 qPrintable(several));
        QCOMPARE(selector.selectorOf(selector.cameras()[1]), QString("KV-7"));
        const CameraSelector twins({entry(0, "/dev/video0", "A", "SAME", "usb-1", false),
                                    entry(1, "/dev/video2", "B", "SAME", "usb-2", false)});
        QCOMPARE(twins.selectorOf(twins.cameras()[1]), QString("/dev/video2"));
        QVERIFY(twins.cameras()[0].identity() != twins.cameras()[1].identity());
        const QString none = messageOf<NoSuchCamera>([&] { selector.select("nikon"); });
        QVERIFY2(none.contains("No camera matches") && none.contains("/dev/video4"), qPrintable(none));
        // A number is an index or a serial number, never the "4" of "KVC-4K".
        QVERIFY(messageOf<NoSuchCamera>([&] { selector.select("4"); }).contains("No camera matches"));
        QVERIFY(messageOf<NoSuchCamera>([&] { selector.select("1080"); }).contains("No camera matches"));
        QVERIFY(!messageOf<NoSuchCamera>([] { CameraSelector({}).select(""); }).isEmpty());
        QCOMPARE(CameraSelector({entry(0, "v", "Plain", "", "", false)}).select(""), 0);
    }

    void valuesAreParsedStrictly()
    {
        OpenCamera open("virtual 1");
        const CameraControls controls(open.camera());
        const auto text = [&](const char* name, const char* value) {
            return ControlValueParser::fromText(ControlDescription::of(controls.find(name)), value);
        };
        const auto refusedText = [&](const char* name, const char* value) {
            return !messageOf<BadInput>([&] { text(name, value); }).contains("nothing thrown");
        };
        QCOMPARE(text("brightness", "0x10").toLongLong(), 16LL);
        QCOMPARE(text("brightness", " -0x10 ").toLongLong(), -16LL);
        QVERIFY(refusedText("brightness", "1e1") && refusedText("brightness", "") && refusedText("brightness", "0x"));
        QCOMPARE(text("cooling_fan", "Off").toBool(), false);
        QVERIFY(refusedText("cooling_fan", "maybe"));
        QCOMPARE(text("test_pattern", "1").toInt(), 1); // a text menu takes a bare index
        QVERIFY(refusedText("test_pattern", "#3"));
        QCOMPARE(text("link_frequency_hz", "891000000").toInt(), 1); // an integer menu takes its entries
        QCOMPARE(text("link_frequency_hz", "#3").toInt(), 3);
        QVERIFY(refusedText("link_frequency_hz", "1"));
        QCOMPARE(text("exposure_time_us", "200000").toLongLong(), 200000LL);
        QVERIFY(refusedText("exposure_time_us", "200001") && refusedText("exposure_time_us", "99999999999999999999"));
        QVERIFY(refusedText("overlay_text", QByteArray(33, 'x').constData()));
        QVERIFY(!text("restart_sequence", "press").isValid());
        QVERIFY(refusedText("restart_sequence", "now"));
        QVERIFY(refusedText("overlay_elements", "1"));

        const ControlDescription exposure = ControlDescription::of(controls.find("exposure_time_us"));
        QCOMPARE(ControlValueParser::fromJson(exposure, QJsonValue("1000")).toLongLong(), 1000LL);
        QVERIFY(!messageOf<BadInput>([&] { ControlValueParser::fromJson(exposure, QJsonValue(10.5)); }).contains("nothing"));
        QVERIFY(!messageOf<BadInput>([&] { ControlValueParser::fromJson(exposure, QJsonValue(true)); }).contains("nothing"));
    }

    void invalidBatchesWriteNothing()
    {
        OpenCamera open("virtual 2");
        ControlWriter writer(open.camera());
        writer.applyAll(writer.plan(QStringList{"exposure_auto=on"}));
        const QString before = valueOf(open.camera(), "Brightness");

        const QString bad = messageOf<BadInput>([&] {
            writer.plan(QStringList{"brightness=7", "contrast=500", "gain=loud", "no such=1", "test_pattern=Stripes"});
        });
        QVERIFY2(bad.contains("Contrast: 500 is out of range (0 to 200)") && bad.contains("Gain: 'loud' is not an integer")
                     && bad.contains("no control 'no such'") && bad.contains("Checkerboard")
                     && bad.contains("Nothing was written"),
                 qPrintable(bad));
        QVERIFY(bad.contains("White Balance Temperature") == false);
        QCOMPARE(messageOf<BadInput>([&] { writer.plan(QStringList{"white_balance_temperature=2805"}); })
                     .contains("2800 or 2810"),
                 true);

        const QString refused = messageOf<Refused>([&] {
            writer.plan(QStringList{"brightness=7", "Temperature (C)=20", "exposure_time_us=1000"});
        });
        QVERIFY2(refused.contains("Temperature (C) is read-only") && refused.contains("is inactive")
                     && !refused.contains("Brightness"),
                 qPrintable(refused));
        QVERIFY(!messageOf<BadInput>([&] { writer.plan(QStringList{"brightness"}); }).isEmpty());
        QCOMPARE(valueOf(open.camera(), "Brightness"), before);
    }

    void writesGoInFamilyOrderAndReportTheCamerasRefusal()
    {
        OpenCamera open("virtual 2");
        ControlWriter writer(open.camera());
        // The exposure time is inactive until the mode given after it is off.
        writer.applyAll(writer.plan(
            QStringList{"Exposure Time (us)=20000", "exposure_auto=off", "test_pattern=#2", "overlay_text=", "restart_sequence"}));
        QCOMPARE(valueOf(open.camera(), "exposure_time_us"), QString("20000"));
        QCOMPARE(valueOf(open.camera(), "Test Pattern"), QString("Checkerboard"));
        QCOMPARE(valueOf(open.camera(), "Overlay Text"), QString(""));

        // Locking exposure makes the camera itself refuse to trigger it.
        try {
            writer.applyAll(writer.plan(QStringList{"lock_auto_controls=1", "trigger_auto_controls=1", "gain=3"}));
            QFAIL("the trigger of a locked function was taken");
        } catch (const Refused& error) {
            QVERIFY2(error.message().contains("Trigger Auto Controls: refused: Trigger Auto Controls")
                         && error.message().contains("locked"),
                     qPrintable(error.message()));
            QCOMPARE(error.written(), QStringList{"Lock Auto Controls = 1"});
            QVERIFY(error.message().contains("Not written: Gain = 3"));
        }
    }

    void profileRoundTripsAndChecksEverythingFirst()
    {
        OpenCamera open("virtual 1");
        ControlWriter writer(open.camera());
        writer.applyAll(writer.plan(QStringList{"exposure_auto=off", "brightness=-20", "link_frequency_hz=3564000000"}));
        const QJsonObject saved = Profile::save(open.camera(), open.entry());
        const QByteArray json = QJsonDocument(saved).toJson();
        QVERIFY(json.contains("\"Exposure Time (us)\""));
        QVERIFY(!json.contains("Temperature (C)") && !json.contains("Restart"));

        writer.applyAll(writer.plan(QStringList{"exposure_auto=on", "brightness=30", "link_frequency_hz=445500000"}));
        const ProfilePlan plan = Profile::check(open.camera(), open.entry(), json);
        QVERIFY2(plan.changeLines().contains("Brightness: 30 -> -20"), qPrintable(plan.changeLines().join('|')));
        QCOMPARE(plan.changes.first().before.name, QString("Brightness"));
        QVERIFY(Profile::apply(open.camera(), plan).complete());
        QCOMPARE(valueOf(open.camera(), "brightness"), QString("-20"));
        QCOMPARE(valueOf(open.camera(), "Exposure, Auto"), QString("false"));
        QCOMPARE(valueOf(open.camera(), "link_frequency_hz"), QString("3564000000"));
        QVERIFY(Profile::check(open.camera(), open.entry(), json).changes.isEmpty());

        // A foreign control and a wrong type spoil the whole file.
        QJsonObject foreign = saved;
        QJsonArray controls = foreign["controls"].toArray();
        controls.append(QJsonObject{{"name", "Iris, Absolute"}, {"value", 4}});
        controls.append(QJsonObject{{"name", "Gain"}, {"value", "high"}});
        controls.prepend(QJsonObject{{"name", "Brightness"}, {"value", 99}});
        foreign["controls"] = controls;
        const QString message = messageOf<BadInput>(
            [&] { Profile::check(open.camera(), open.entry(), QJsonDocument(foreign).toJson()); });
        QVERIFY2(message.contains("Iris, Absolute: this camera has no such control") && message.contains("Gain")
                     && message.contains("more than once"),
                 qPrintable(message));
        QVERIFY(messageOf<BadInput>([&] { Profile::check(open.camera(), open.entry(), "{\"controls\": 3"); })
                    .contains("JSON error"));
        QVERIFY(messageOf<BadInput>([&] { Profile::check(open.camera(), open.entry(), "[1, 2]"); })
                    .contains("Not a profile"));
    }

    void unpluggedCameraRefusesEachWriteAndSaysSo()
    {
        OpenCamera open("virtual 2");
        const QByteArray json = QJsonDocument(Profile::save(open.camera(), open.entry())).toJson();
        ControlWriter(open.camera()).applyAll(ControlWriter(open.camera()).plan(QStringList{"brightness=11", "contrast=12"}));
        const ProfilePlan plan = Profile::check(open.camera(), open.entry(), json);
        QCOMPARE(plan.changes.size(), 2);

        QVERIFY(ImageAcquisition::VirtualCameras::unplug(1));
        const WriteOutcome outcome = Profile::apply(open.camera(), plan);
        QCOMPARE(outcome.refused.size(), 2);
        QVERIFY2(outcome.report().contains("unplugged") && outcome.report().contains("Nothing was written"),
                 qPrintable(outcome.report()));
        QVERIFY(!messageOf<NoSuchCamera>([] { OpenCamera("virtual 2"); }).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestCtlCore)
#include "test_core.moc"
