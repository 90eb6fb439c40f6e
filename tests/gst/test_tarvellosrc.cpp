// tarvellosrc and the device provider on the virtual camera, in the test's
// own process: every format's caps and buffers, the camera's own format
// when downstream has no wish, a recording ffprobe reads, settings written
// at the start, held buffers, damaged frames, time stamps, an unplug under
// a running pipeline, and the device monitor seeing plugs and unplugs.
#include "gsttesting.h"

#include <cameracontrols.h>
#include <cameraselector.h>
#include <formatcaps.h>
#include <formatchoice.h>
#include <opencamera.h>
#include <tarvelloplugin.h>

#include <imageacquisition/imageacquisition.h>
#include <imageacquisition/virtualcameras.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <vector>

using namespace GstTesting;
using namespace Tarvello;
using ImageAcquisition::VirtualCameras::count;

namespace {

QString controlValue(const QString& serial, const QString& control)
{
    const OpenCamera open(serial);
    return ControlDescription::of(CameraControls(open.camera()).find(control)).valueText();
}

guint64 framesDropped(GstElement* pipeline)
{
    const Element source = byName(pipeline, "src");
    guint64 dropped = 0;
    g_object_get(source.get(), "frames-dropped", &dropped, nullptr);
    return dropped;
}

} // namespace

class TestTarvelloSrc : public QObject
{
    Q_OBJECT

    QString m_serial; // the camera most tests stream
    int m_index = 0;  // its index among the virtual cameras

private slots:
    void initTestCase()
    {
        gst_init(nullptr, nullptr);
        QVERIFY(TarvelloPlugin::registerStatic());
        qputenv("IMAGEACQUISITION_VIRTUAL_CAMERAS", "2");
        const QVector<CameraEntry> cameras = CameraSelector::presentCameras();
        QVERIFY(cameras.size() >= 2);
        m_index = count() - 1;
        m_serial = cameras.last().serial;
        QVERIFY(!m_serial.isEmpty());
    }

    void cleanupTestCase() { gst_deinit(); }

    void eachFormatNegotiatesAndStreams_data()
    {
        QTest::addColumn<QString>("caps");
        QTest::addColumn<int>("bytes"); // 0: a JPEG picture
        QTest::newRow("RGB3") << "video/x-raw,format=RGB" << 320 * 3 * 240;
        QTest::newRow("BGR3") << "video/x-raw,format=BGR" << 320 * 3 * 240;
        QTest::newRow("YUYV") << "video/x-raw,format=YUY2" << 320 * 2 * 240;
        QTest::newRow("GRBG") << "video/x-bayer,format=grbg" << 320 * 240;
        QTest::newRow("MJPG") << "image/jpeg" << 0;
    }

    void eachFormatNegotiatesAndStreams()
    {
        QFETCH(QString, caps);
        QFETCH(int, bytes);
        const QString wanted = caps + ",width=320,height=240,framerate=60/1";
        const Element pipeline =
            launch(QString("tarvellosrc name=src device=%1 num-buffers=4 ! %2 ! appsink name=sink sync=false")
                       .arg(m_serial, wanted));
        QVERIFY(pipeline);
        gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
        const Element sink = byName(pipeline.get(), "sink");
        guint64 lastOffset = 0;
        GstClockTime lastPts = 0;
        for (int i = 0; i < 4; ++i) {
            const Sample sample = pull(sink.get(), 5000);
            QVERIFY2(sample, qPrintable(QString("buffer %1 never came").arg(i)));
            GstCaps* negotiated = gst_sample_get_caps(sample.get());
            GstCaps* expected = gst_caps_from_string(wanted.toUtf8().constData());
            QVERIFY2(gst_caps_is_equal(negotiated, expected), qPrintable(capsText(negotiated)));
            gst_caps_unref(expected);
            GstBuffer* buffer = gst_sample_get_buffer(sample.get());
            GstMapInfo map;
            QVERIFY(gst_buffer_map(buffer, &map, GST_MAP_READ));
            const bool jpeg = map.size > 2 && map.data[0] == 0xff && map.data[1] == 0xd8;
            const gsize size = map.size;
            gst_buffer_unmap(buffer, &map);
            if (bytes)
                QCOMPARE(int(size), bytes);
            else
                QVERIFY(jpeg);
            QCOMPARE(GST_BUFFER_DURATION(buffer), GST_SECOND / 60);
            if (i > 0) {
                QCOMPARE(GST_BUFFER_OFFSET(buffer), lastOffset + 1);
                QVERIFY(GST_BUFFER_PTS(buffer) > lastPts);
            }
            lastOffset = GST_BUFFER_OFFSET(buffer);
            lastPts = GST_BUFFER_PTS(buffer);
        }
        QCOMPARE(waitForEnd(pipeline.get(), 5000).type, GST_MESSAGE_EOS);
        gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    }

    void withoutAWishTheCameraKeepsItsFormat()
    {
        FormatChoice::Request current;
        {
            const OpenCamera open(m_serial);
            const FormatChoice choice(open.camera(), FormatChoice::Request());
            current.fourcc = choice.fourcc;
            current.size = FormatChoice::Size{choice.width, choice.height};
            current.interval = choice.interval;
        }
        const Element pipeline = launch(QString("tarvellosrc device=%1 num-buffers=1 ! appsink name=sink").arg(m_serial));
        gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
        const Sample sample = pull(byName(pipeline.get(), "sink").get(), 5000);
        QVERIFY(sample);
        const GstStructure* caps = gst_caps_get_structure(gst_sample_get_caps(sample.get()), 0);
        GstStructure* expected = FormatCaps::structureOf(*current.fourcc);
        QVERIFY(expected);
        QCOMPARE(QString(gst_structure_get_name(caps)), QString(gst_structure_get_name(expected)));
        gst_structure_free(expected);
        int width = 0, height = 0, rateNumerator = 0, rateDenominator = 0;
        gst_structure_get_int(caps, "width", &width);
        gst_structure_get_int(caps, "height", &height);
        gst_structure_get_fraction(caps, "framerate", &rateNumerator, &rateDenominator);
        QCOMPARE(FormatChoice::Size(width, height), *current.size);
        QCOMPARE(FormatChoice::Interval(rateDenominator, rateNumerator), *current.interval);
        gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    }

    void recordsAnMp4ThatFfprobeReads()
    {
        if (QStandardPaths::findExecutable("ffprobe").isEmpty())
            QSKIP("ffprobe is not installed (package ffmpeg)");
        QTemporaryDir dir;
        const QString file = dir.filePath("run.mp4");
        QString problem;
        const Element pipeline = launch(
            QString("tarvellosrc device=%1 num-buffers=15 ! video/x-raw,format=RGB,width=320,height=240,framerate=30/1 "
                    "! videoconvert ! x264enc speed-preset=ultrafast ! mp4mux ! filesink location=\"%2\"")
                .arg(m_serial, file),
            &problem);
        if (!pipeline && problem.contains("x264enc"))
            QSKIP("x264enc is not installed (package gstreamer1.0-plugins-ugly)");
        QVERIFY2(pipeline, qPrintable(problem));
        gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
        QCOMPARE(waitForEnd(pipeline.get(), 20000).type, GST_MESSAGE_EOS);
        gst_element_set_state(pipeline.get(), GST_STATE_NULL);

        QProcess ffprobe;
        ffprobe.start("ffprobe", {"-v", "error", "-count_frames", "-select_streams", "v:0", "-show_entries",
                                  "stream=codec_name,width,height,nb_read_frames", "-of", "csv=p=0", file});
        QVERIFY(ffprobe.waitForFinished(30000));
        QCOMPARE(QString::fromUtf8(ffprobe.readAllStandardOutput()).trimmed(), QString("h264,320,240,15"));
    }

    void settingsAreWrittenWhenTheStreamStarts()
    {
        QTemporaryDir dir;
        const QString profile = dir.filePath("lab.json");
        QFile file(profile);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(R"({"tarvello-profile": 1, "controls": [{"name": "Brightness", "value": 37},
                                                         {"name": "Contrast", "value": 60}]})");
        file.close();
        // The controls come after the profile: where both name one, theirs stands.
        const Element pipeline = launch(QString("tarvellosrc name=src device=%1 profile=\"%2\" "
                                                "controls=\"c,contrast=140,overlay_text=\\\"bench 7\\\"\" "
                                                "num-buffers=2 ! fakesink")
                                            .arg(m_serial, profile));
        QVERIFY(pipeline);
        gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
        QCOMPARE(waitForEnd(pipeline.get(), 5000).type, GST_MESSAGE_EOS);
        gchar* serial = nullptr;
        g_object_get(byName(pipeline.get(), "src").get(), "serial", &serial, nullptr);
        QCOMPARE(QString(serial), m_serial);
        g_free(serial);
        gst_element_set_state(pipeline.get(), GST_STATE_NULL);
        QCOMPARE(controlValue(m_serial, "brightness"), QString("37"));
        QCOMPARE(controlValue(m_serial, "contrast"), QString("140"));
        QCOMPARE(controlValue(m_serial, "overlay_text"), QString("bench 7"));
    }

    void controlsSetWhileStreamingAreWrittenAtOnce()
    {
        const Element pipeline = launch(QString("tarvellosrc name=src device=%1 ! appsink name=sink sync=false").arg(m_serial));
        gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
        const Element sink = byName(pipeline.get(), "sink");
        QVERIFY(pull(sink.get(), 5000));
        const Element source = byName(pipeline.get(), "src");
        GstStructure* controls = gst_structure_from_string("c,brightness=-12", nullptr);
        g_object_set(source.get(), "controls", controls, nullptr);
        gst_structure_free(controls);
        QCOMPARE(controlValue(m_serial, "brightness"), QString("-12"));
        // A refusal while streaming is a warning: the stream goes on.
        controls = gst_structure_from_string("c,brightness=-1000", nullptr);
        g_object_set(source.get(), "controls", controls, nullptr);
        gst_structure_free(controls);
        GstBus* bus = gst_element_get_bus(pipeline.get());
        GstMessage* warning = gst_bus_timed_pop_filtered(bus, GST_SECOND, GST_MESSAGE_WARNING);
        gst_object_unref(bus);
        QVERIFY(warning);
        gst_message_unref(warning);
        QVERIFY(pull(sink.get(), 5000));
        QCOMPARE(controlValue(m_serial, "brightness"), QString("-12"));
        gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    }

    void badSettingsStopTheStartWithTheReason_data()
    {
        QTest::addColumn<QString>("settings");
        QTest::addColumn<QString>("reason");
        QTest::newRow("unknown control") << "controls=\"c,no_such_control=1\"" << "no_such_control";
        QTest::newRow("out of range") << "controls=\"c,brightness=1000\"" << "Brightness";
        QTest::newRow("missing profile") << "profile=/nonexistent/lab.json" << "Cannot read /nonexistent/lab.json";
        QTest::newRow("no such camera") << "device=no-such-camera" << "No camera matches 'no-such-camera'";
    }

    void badSettingsStopTheStartWithTheReason()
    {
        QFETCH(QString, settings);
        QFETCH(QString, reason);
        const QString before = controlValue(m_serial, "brightness");
        const Element pipeline = launch(QString("tarvellosrc device=%1 %2 ! fakesink").arg(m_serial, settings));
        QCOMPARE(gst_element_set_state(pipeline.get(), GST_STATE_PLAYING), GST_STATE_CHANGE_FAILURE);
        const Outcome outcome = waitForEnd(pipeline.get(), 1000);
        QCOMPARE(outcome.domain, GST_RESOURCE_ERROR);
        QVERIFY2(outcome.text.contains(reason), qPrintable(outcome.text));
        gst_element_set_state(pipeline.get(), GST_STATE_NULL);
        QCOMPARE(controlValue(m_serial, "brightness"), before);
    }

    void heldBuffersAreCopiedAndTheCameraKeepsDelivering()
    {
        // A downstream that keeps every buffer: the camera must never run
        // out of its own, so that no frame is lost.
        const Element pipeline = launch(QString("tarvellosrc name=src device=%1 ! "
                                                "video/x-raw,format=RGB,width=320,height=240,framerate=60/1 ! "
                                                "appsink name=sink sync=false")
                                            .arg(m_serial));
        gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
        const Element sink = byName(pipeline.get(), "sink");
        std::vector<Sample> held;
        for (int i = 0; i < 12; ++i) {
            held.push_back(pull(sink.get(), 5000));
            QVERIFY(held.back());
        }
        for (size_t i = 1; i < held.size(); ++i)
            QCOMPARE(GST_BUFFER_OFFSET(gst_sample_get_buffer(held[i].get())),
                     GST_BUFFER_OFFSET(gst_sample_get_buffer(held[i - 1].get())) + 1);
        QCOMPARE(framesDropped(pipeline.get()), guint64(0));
        held.clear();
        gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    }

    void damagedFramesAreCountedAndMarked()
    {
        const Element pipeline = launch(QString("tarvellosrc name=src device=%1 ! "
                                                "video/x-raw,format=RGB,width=320,height=240,framerate=60/1 ! "
                                                "appsink name=sink sync=false")
                                            .arg(m_serial));
        gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
        const Element sink = byName(pipeline.get(), "sink");
        Sample sample = pull(sink.get(), 5000);
        QVERIFY(sample);
        QVERIFY(ImageAcquisition::VirtualCameras::damageFrames(m_index, 3));
        guint64 last = GST_BUFFER_OFFSET(gst_sample_get_buffer(sample.get()));
        for (int i = 0; i < 20; ++i) {
            sample = pull(sink.get(), 5000);
            QVERIFY(sample);
            GstBuffer* buffer = gst_sample_get_buffer(sample.get());
            if (GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DISCONT)) {
                QCOMPARE(GST_BUFFER_OFFSET(buffer), last + 4);
                QCOMPARE(framesDropped(pipeline.get()), guint64(3));
                gst_element_set_state(pipeline.get(), GST_STATE_NULL);
                return;
            }
            QCOMPARE(GST_BUFFER_OFFSET(buffer), last + 1);
            last = GST_BUFFER_OFFSET(buffer);
        }
        QFAIL("no buffer after the damaged frames was marked DISCONT");
    }

    void timeStampsAreCaptureTimesOnThePipelineClock()
    {
        const Element pipeline = launch(QString("tarvellosrc device=%1 ! appsink name=sink sync=false").arg(m_serial));
        gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
        const Element sink = byName(pipeline.get(), "sink");
        for (int i = 0; i < 5; ++i) {
            const Sample sample = pull(sink.get(), 5000);
            QVERIFY(sample);
            GstClock* clock = gst_element_get_clock(pipeline.get());
            const GstClockTime now = gst_clock_get_time(clock) - gst_element_get_base_time(pipeline.get());
            gst_object_unref(clock);
            const GstClockTime pts = GST_BUFFER_PTS(gst_sample_get_buffer(sample.get()));
            // Captured before it arrived, and not long before.
            QVERIFY2(pts <= now && now - pts < 500 * GST_MSECOND,
                     qPrintable(QString("pts %1 ms, now %2 ms").arg(pts / GST_MSECOND).arg(now / GST_MSECOND)));
        }
        // A live source answers end of stream at once.
        gst_element_send_event(pipeline.get(), gst_event_new_eos());
        QCOMPARE(waitForEnd(pipeline.get(), 2000).type, GST_MESSAGE_EOS);
        gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    }

    void unplugEndsTheStreamWithAnErrorNamingTheSerial()
    {
        ImageAcquisition::VirtualCameras::plug();
        const QString serial = CameraSelector::presentCameras().last().serial;
        const Element pipeline = launch(QString("tarvellosrc device=%1 ! appsink name=sink sync=false").arg(serial));
        gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
        const Element sink = byName(pipeline.get(), "sink");
        for (int i = 0; i < 3; ++i)
            QVERIFY(pull(sink.get(), 5000));
        QElapsedTimer timer;
        timer.start();
        QVERIFY(ImageAcquisition::VirtualCameras::unplug(count() - 1));
        const Outcome outcome = waitForEnd(pipeline.get(), 3000);
        const qint64 elapsed = timer.elapsed();
        QCOMPARE(outcome.type, GST_MESSAGE_ERROR);
        QCOMPARE(outcome.domain, GST_RESOURCE_ERROR);
        QCOMPARE(outcome.code, int(GST_RESOURCE_ERROR_NOT_FOUND));
        QVERIFY2(outcome.text.contains(serial) && outcome.text.contains("unplugged"), qPrintable(outcome.text));
        QVERIFY2(elapsed < 1000, qPrintable(QString("the error came after %1 ms").arg(elapsed)));
        timer.restart();
        QCOMPARE(gst_element_set_state(pipeline.get(), GST_STATE_NULL), GST_STATE_CHANGE_SUCCESS);
        QVERIFY(timer.elapsed() < 1000);
    }

    void theStoredProfileComesFirstAndAFollowedCameraComesBack()
    {
        ImageAcquisition::VirtualCameras::plug();
        const CameraEntry camera = CameraSelector::presentCameras().last();
        const std::string line = ImageAcquisition::VirtualCameras::serialLinePath(count() - 1);
        if (line.empty())
            QSKIP("the virtual camera got no pseudo-terminal here");
        QTemporaryDir config;
        qputenv("XDG_CONFIG_HOME", config.path().toLocal8Bit());
        QVERIFY(QDir().mkpath(config.filePath("tarvello/cameras")));
        QFile stored(config.filePath("tarvello/cameras/" + camera.serial + ".json"));
        QVERIFY(stored.open(QIODevice::WriteOnly));
        stored.write(R"({"tarvello-profile": 1, "controls": [{"name": "Gain", "value": 23}]})");
        stored.close();

        const Element pipeline =
            launch(QString("tarvellosrc device=%1 follow=10 ! video/x-raw,format=RGB,width=320,height=240 ! "
                           "appsink name=sink sync=false max-buffers=4")
                       .arg(camera.serial));
        QVERIFY(pipeline);
        gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
        const Element sink = byName(pipeline.get(), "sink");
        QVERIFY(pull(sink.get(), 5000));
        QCOMPARE(controlValue(camera.serial, "gain"), QString("23"));
        // A reboot: the camera leaves and comes back 1.5 s later with its
        // serial number and its defaults; the stream goes on, and the
        // stored profile is written again.
        QFile terminal(QString::fromStdString(line));
        QVERIFY(terminal.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && terminal.write("reboot\r") == 7);
        terminal.close();
        bool discont = false;
        QElapsedTimer clock;
        clock.start();
        while (!discont && clock.elapsed() < 8000) {
            const Sample sample = pull(sink.get(), 500);
            discont = sample && GST_BUFFER_FLAG_IS_SET(gst_sample_get_buffer(sample.get()), GST_BUFFER_FLAG_DISCONT);
        }
        QVERIFY2(discont, "no buffer after the camera came back");
        QVERIFY(pull(sink.get(), 5000));
        QCOMPARE(waitForEnd(pipeline.get(), 0).type, GST_MESSAGE_UNKNOWN); // no error
        QCOMPARE(controlValue(camera.serial, "gain"), QString("23"));
        gst_element_set_state(pipeline.get(), GST_STATE_NULL);
        qunsetenv("XDG_CONFIG_HOME");
    }

    void deviceMonitorSeesPlugsAndUnplugs()
    {
        GstDeviceMonitor* monitor = gst_device_monitor_new();
        gst_device_monitor_add_filter(monitor, "Video/Source", nullptr);
        GstBus* bus = gst_device_monitor_get_bus(monitor);
        QVERIFY(gst_device_monitor_start(monitor));
        // Every camera present, with the properties that open it.
        int ours = 0;
        GList* devices = gst_device_monitor_get_devices(monitor);
        for (GList* item = devices; item; item = item->next) {
            GstStructure* properties = gst_device_get_properties(GST_DEVICE(item->data));
            if (properties && g_strcmp0(gst_structure_get_string(properties, "device.api"), "tarvello") == 0) {
                ++ours;
                if (g_strcmp0(gst_structure_get_string(properties, "device.serial"), m_serial.toUtf8().constData()) == 0) {
                    const Element element(gst_device_create_element(GST_DEVICE(item->data), nullptr));
                    gchar* device = nullptr;
                    g_object_get(element.get(), "device", &device, nullptr);
                    QCOMPARE(QString(device), m_serial);
                    g_free(device);
                    GstCaps* caps = gst_device_get_caps(GST_DEVICE(item->data));
                    QVERIFY(capsText(caps).contains("image/jpeg, width=(int)1920, height=(int)1080"));
                    gst_caps_unref(caps);
                }
            }
            if (properties)
                gst_structure_free(properties);
        }
        g_list_free_full(devices, gst_object_unref);
        QCOMPARE(ours, count());

        // The device messages are extended types, which a type mask cannot pick out.
        const auto next = [&](GstMessageType type) {
            QString name;
            QElapsedTimer timer;
            timer.start();
            while (name.isEmpty() && timer.elapsed() < 5000) {
                GstMessage* message = gst_bus_timed_pop(bus, 100 * GST_MSECOND);
                if (!message)
                    continue;
                if (GST_MESSAGE_TYPE(message) == type) {
                    GstDevice* device = nullptr;
                    if (type == GST_MESSAGE_DEVICE_ADDED)
                        gst_message_parse_device_added(message, &device);
                    else
                        gst_message_parse_device_removed(message, &device);
                    gchar* displayName = gst_device_get_display_name(device);
                    name = QString::fromUtf8(displayName);
                    g_free(displayName);
                    gst_object_unref(device);
                }
                gst_message_unref(message);
            }
            return name;
        };
        // The cameras present were announced when the monitor started.
        while (GstMessage* message = gst_bus_pop(bus))
            gst_message_unref(message);
        const int index = ImageAcquisition::VirtualCameras::plug();
        const QString added = next(GST_MESSAGE_DEVICE_ADDED);
        QVERIFY2(added.contains("virtual"), qPrintable(added));
        QVERIFY(ImageAcquisition::VirtualCameras::unplug(index));
        QCOMPARE(next(GST_MESSAGE_DEVICE_REMOVED), added);
        gst_device_monitor_stop(monitor);
        gst_object_unref(bus);
        gst_object_unref(monitor);
    }
};

QTEST_GUILESS_MAIN(TestTarvelloSrc)
#include "test_tarvellosrc.moc"
