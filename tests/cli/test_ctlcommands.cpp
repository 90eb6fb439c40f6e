// tarvello-ctl's streaming commands run in this process, so that a virtual
// camera can be unplugged under them, and the stream arithmetic of stats.
#include <cameraselector.h>
#include <commandoutput.h>
#include <opencamera.h>
#include <ctlprogram.h>
#include <frameimage.h>
#include <streamformat.h>
#include <streamstatistics.h>
#include <videorecorder.h>

#include <imageacquisition/imageacquisition.h>
#include <imageacquisition/virtualcameras.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <atomic>
#include <functional>
#include <chrono>
#include <thread>

namespace {

struct Run
{
    int status;
    QString out;
    QString err;
};

// Runs the command while another thread waits until ready() says the
// command is under way, then unplugs the camera: the unplug lands
// mid-stream however slow the machine is.
Run runAndUnplugWhen(const QStringList& arguments, const std::function<bool()>& ready)
{
    std::atomic<bool> done{false};
    std::thread unplugger([&] {
        while (!done && !ready())
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        if (!done)
            ImageAcquisition::VirtualCameras::unplug(ImageAcquisition::VirtualCameras::count() - 1);
    });
    Run run{0, QString(), QString()};
    {
        CommandOutput output(&run.out, &run.err);
        run.status = CtlProgram().run(QStringList{"tarvello-ctl"} + arguments, output);
    }
    done = true;
    unplugger.join();
    return run;
}

Run runAndUnplugOnceWritten(const QStringList& arguments, const QString& firstFile)
{
    return runAndUnplugWhen(arguments, [firstFile] { return QFile::exists(firstFile); });
}

Run runAndUnplugAfter(const QStringList& arguments, int milliseconds)
{
    QElapsedTimer clock;
    clock.start();
    return runAndUnplugWhen(arguments, [clock, milliseconds] { return clock.elapsed() >= milliseconds; });
}

// Runs the command while another thread reboots the last camera through its
// serial line after the given time: it leaves and comes back 1.5 s later
// with the same serial number.
Run runAndRebootAfter(const QStringList& arguments, int milliseconds)
{
    const QString line = QString::fromStdString(
        ImageAcquisition::VirtualCameras::serialLinePath(ImageAcquisition::VirtualCameras::count() - 1));
    std::atomic<bool> done{false};
    std::thread rebooter([&] {
        for (int waited = 0; waited < milliseconds && !done; waited += 20)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        QFile terminal(line);
        if (!done && terminal.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
            terminal.write("reboot\r");
    });
    Run run{0, QString(), QString()};
    {
        CommandOutput output(&run.out, &run.err);
        run.status = CtlProgram().run(QStringList{"tarvello-ctl"} + arguments, output);
    }
    done = true;
    rebooter.join();
    return run;
}

Run runCommand(const QStringList& arguments)
{
    Run run{0, QString(), QString()};
    CommandOutput output(&run.out, &run.err);
    run.status = CtlProgram().run(QStringList{"tarvello-ctl"} + arguments, output);
    output.out().flush();
    return run;
}

// The camera the streaming cases unplug: the last one listed.
QString lastSerial()
{
    return Tarvello::CameraSelector::presentCameras().last().serial;
}

} // namespace

class TestCtlCommands : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("IMAGEACQUISITION_VIRTUAL_CAMERAS", "1"); }
    void init()
    {
        // The streaming cases unplug the last camera; each case starts with
        // the environment's camera and one plugged in.
        if (ImageAcquisition::VirtualCameras::count() == 1)
            ImageAcquisition::VirtualCameras::plug();
    }

    void everyCommandIsListedWithItsHelp()
    {
        Run overview{0, QString(), QString()};
        {
            CommandOutput output(&overview.out, &overview.err);
            overview.status = CtlProgram().run({"tarvello-ctl", "--help"}, output);
        }
        QCOMPARE(overview.status, 0);
        for (const QString command : {"list", "info", "formats", "controls", "get", "set", "reset", "profile",
                                       "grab", "stats", "record", "doctor", "serial"}) {
            QVERIFY2(overview.out.contains("  " + command + " "), qPrintable(command));
            Run help{0, QString(), QString()};
            {
                CommandOutput output(&help.out, &help.err);
                help.status = CtlProgram().run({"tarvello-ctl", command, "--help"}, output);
            }
            QCOMPARE(help.status, 0);
            QVERIFY2(help.out.contains("tarvello-ctl " + command) && help.out.contains("3  no such camera"),
                     qPrintable(command));
        }
    }

    void grabEndsCleanlyWhenTheCameraIsUnplugged()
    {
        QTemporaryDir dir;
        const Run run = runAndUnplugOnceWritten(
            {"grab", "-d", "virtual 2", "-n", "100000", "--type", "raw", "-o", dir.path()},
            dir.filePath("frame-000001.jpg"));
        QCOMPARE(run.status, 3);
        QVERIFY2(run.err.contains("unplugged while streaming") && run.err.contains("frames had been saved"),
                 qPrintable(run.err));
        QFile index(dir.filePath("frame.csv"));
        QVERIFY(index.open(QIODevice::ReadOnly));
        const QList<QByteArray> rows = index.readAll().trimmed().split('\n');
        QVERIFY(rows.size() >= 2);
        QCOMPARE(rows.first(), QByteArray("frame,timestamp,size,format,width,height,file"));
        // Every listed frame is on disk, and nothing else is.
        QCOMPARE(QDir(dir.path()).entryList({"frame-*"}).size(), rows.size() - 1);
    }

    void recordingCutShortIsAFinishedFile()
    {
        QTemporaryDir dir;
        const QString file = dir.filePath("cut.mkv");
        const Run run = runAndUnplugOnceWritten(
            {"record", "-d", "virtual 3", "--duration", "600", "--format", "MJPG", "--size", "320x240", "-o", file},
            file);
        QCOMPARE(run.status, 3);
        QVERIFY2(run.err.contains("unplugged") && run.err.contains("frames recorded"), qPrintable(run.err));
        const QString ffprobe = QStandardPaths::findExecutable("ffprobe");
        if (ffprobe.isEmpty())
            QSKIP("ffprobe is not installed (package ffmpeg); the file itself is not examined");
        QProcess probe;
        probe.start(ffprobe, {"-v", "error", "-count_frames", "-show_entries", "stream=codec_name,nb_read_frames",
                              "-of", "csv=p=0", file});
        QVERIFY(probe.waitForFinished(30000));
        const QString answer = QString::fromUtf8(probe.readAllStandardOutput()).trimmed();
        QCOMPARE(probe.exitCode(), 0);
        QVERIFY2(answer.startsWith("mjpeg,") && answer.section(',', 1).toInt() > 0, qPrintable(answer));
    }

    void serialShowsWhatTheCameraSaysAndSends()
    {
        // The camera's own pseudo-terminal, wherever /dev/ttyACM0 points.
        if (ImageAcquisition::VirtualCameras::serialLinePath(ImageAcquisition::VirtualCameras::count() - 1).empty())
            QSKIP("the virtual camera got no pseudo-terminal here");
        // Several virtual cameras match "virtual": refused before any line is touched.
        QCOMPARE(runCommand({"serial", "-d", "virtual", "--send", "help", "--duration", "1.5"}).status, 3);
        // Sent on a line of its own right after the open, and answered at once.
        const Run run = runCommand({"serial", "-d", lastSerial(), "--send", "help", "--duration", "1.5"});
        QVERIFY2(run.status == 0, qPrintable(run.err));
        QVERIFY2(run.out.contains("commands: status") && run.out.contains("Ready."), qPrintable(run.out));
        QVERIFY(QRegularExpression("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}  ").match(run.out).hasMatch());
    }

    void statsAndSerialReportAnUnplug()
    {
        const Run stats = runAndUnplugAfter({"stats", "-d", lastSerial(), "--watch", "--format", "MJPG", "--size",
                                             "320x240"},
                                            600);
        QCOMPARE(stats.status, 3);
        QVERIFY2(stats.err.contains("unplugged while streaming"), qPrintable(stats.err));
        QVERIFY2(stats.out.contains("delivered"), qPrintable(stats.out));

        ImageAcquisition::VirtualCameras::plug();
        if (ImageAcquisition::VirtualCameras::serialLinePath(ImageAcquisition::VirtualCameras::count() - 1).empty())
            QSKIP("the virtual camera got no pseudo-terminal here");
        const Run serial = runAndUnplugAfter({"serial", "-d", lastSerial()}, 300);
        QCOMPARE(serial.status, 3);
        QVERIFY2(serial.err.contains("unplugged while streaming"), qPrintable(serial.err));
    }

    void grabAndRecordGiveUpOnFramesTheyCannotUse()
    {
        const int camera = ImageAcquisition::VirtualCameras::count() - 1;
        QTemporaryDir dir;
        QVERIFY(ImageAcquisition::VirtualCameras::damageFrames(camera, 1000));
        const Run grab = runCommand({"grab", "-d", lastSerial(), "-n", "3", "--format", "MJPG", "--size", "320x240",
                                     "--interval", "1/60", "-o", dir.path()});
        QCOMPARE(grab.status, 1);
        QVERIFY2(grab.err.contains("Gave up after 20 frames in a row"), qPrintable(grab.err));
        for (const QString fourcc : {"YUYV", "MJPG"}) {
            const Run record = runCommand({"record", "-d", lastSerial(), "-n", "3", "--format", fourcc, "--size",
                                           "320x240", "--interval", "1/60", "-o", dir.filePath("damaged.mkv")});
            QCOMPARE(record.status, 1);
            QVERIFY2(record.err.contains("Gave up after 20 frames in a row"), qPrintable(record.err));
        }
        // Whole frames again: the same command succeeds.
        QVERIFY(ImageAcquisition::VirtualCameras::damageFrames(camera, 0));
        QCOMPARE(runCommand({"grab", "-d", lastSerial(), "--format", "MJPG", "--size", "320x240", "-o", dir.path()})
                     .status,
                 0);
    }

    void aFullBusIsExplained()
    {
        // Two cameras on the virtual cameras' simulated bus, room for one
        // YUYV 1280x720 stream at 1/30 (55.3 MB/s) but not two.
        qputenv("IMAGEACQUISITION_VIRTUAL_USB_BUS", "70M");
        const QVector<Tarvello::CameraEntry> cameras = Tarvello::CameraSelector::presentCameras();
        const Tarvello::CameraEntry& first = cameras.at(cameras.size() - 2);
        Tarvello::OpenCamera busy(first.serial);
        const QStringList format{"--format", "YUYV", "--size", "1280x720", "--interval", "1/30"};
        QCommandLineParser parser;
        StreamFormat::addOptions(parser);
        QVERIFY(parser.parse(QStringList{"x"} + format));
        StreamFormat::choose(busy.camera(), parser);
        QCOMPARE(busy.camera().allocateBuffers(2), 0);
        QCOMPARE(busy.camera().startStreaming(), 0);

        const Run refused = runCommand(QStringList{"grab", "-d", lastSerial(), "-o", QDir::tempPath()} + format);
        busy.camera().stopStreaming();
        busy.camera().releaseBuffers();
        const Run doctor = runCommand({"doctor"});
        qunsetenv("IMAGEACQUISITION_VIRTUAL_USB_BUS");
        QCOMPARE(refused.status, 4);
        QVERIFY2(refused.err.contains("has no bandwidth left for YUYV 1280x720 at 1/30 (about 55.3 MB/s)")
                     && refused.err.contains(first.serial + ") streams YUYV 1280x720 at 1/30, 55.3 MB/s")
                     && refused.err.contains("These fit: MJPG 1280x720 at 1/30 (about 13.8 MB/s), YUYV 320x240 at "
                                             "1/30 (about 4.6 MB/s), YUYV 1280x720 at 2/15 (about 13.8 MB/s)"),
                 qPrintable(refused.err));
        QVERIFY2(doctor.out.contains("the virtual cameras' USB bus (simulated)") && doctor.out.contains("carries"),
                 qPrintable(doctor.out));
    }

    void storedProfileComesBackAfterAReboot()
    {
        QTemporaryDir config;
        qputenv("XDG_CONFIG_HOME", config.path().toLocal8Bit());
        qputenv("TARVELLO_SYSTEM_PROFILE_DIR", (config.path() + "/system").toLocal8Bit());
        const QString serial = lastSerial();
        const QString stored = config.filePath("tarvello/cameras/" + serial + ".json");
        QCOMPARE(runCommand({"set", "-d", serial, "brightness=33"}).status, 0);
        const Run store = runCommand({"profile", "store", "-d", serial});
        QCOMPARE(store.status, 0);
        QVERIFY2(QFile::exists(stored) && store.out.contains(stored), qPrintable(store.out));
        QVERIFY(runCommand({"profile", "show", "--stored", "-d", serial}).out.contains("\"Brightness\""));
        QCOMPARE(runCommand({"profile", "show", "--stored", "--system", "-d", serial}).status, 1); // none kept for all

        // A reboot brings the camera back with the same serial number and its defaults.
        const QString line = QString::fromStdString(
            ImageAcquisition::VirtualCameras::serialLinePath(ImageAcquisition::VirtualCameras::count() - 1));
        // As "echo reboot > /dev/ttyACM0" does it: the line is closed at once.
        QFile terminal(line);
        QVERIFY(terminal.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && terminal.write("reboot\r") == 7);
        terminal.close();
        QTRY_VERIFY_WITH_TIMEOUT(runCommand({"get", "-d", serial, "brightness"}).out.contains("Brightness = 0"), 8000);
        const Run apply = runCommand({"profile", "apply", "--stored", "-d", serial});
        QVERIFY2(apply.status == 0 && apply.out.contains("set Brightness = 33"), qPrintable(apply.out + apply.err));
        QVERIFY(runCommand({"get", "-d", serial, "brightness"}).out.contains("Brightness = 33"));

        QCOMPARE(runCommand({"profile", "forget", "-d", serial}).status, 0);
        QVERIFY(!QFile::exists(stored));
        const Run none = runCommand({"profile", "apply", "--stored", "-d", serial});
        QVERIFY(none.status == 0 && none.out.contains("nothing to apply"));
        QCOMPARE(runCommand({"profile", "apply", "-d", serial}).status, 2); // apply takes --stored
        QCOMPARE(runCommand({"profile", "store", "--system", "-d", serial}).status, 0);
        QVERIFY(QFile::exists(config.filePath("system/" + serial + ".json")));
        QCOMPARE(runCommand({"set", "-d", serial, "brightness=0"}).status, 0);
        qunsetenv("XDG_CONFIG_HOME");
        qunsetenv("TARVELLO_SYSTEM_PROFILE_DIR");
    }

    void streamsFollowTheirCameraBack()
    {
        if (ImageAcquisition::VirtualCameras::serialLinePath(ImageAcquisition::VirtualCameras::count() - 1).empty())
            QSKIP("the virtual camera got no pseudo-terminal here");
        QTemporaryDir dir;
        const QString file = dir.filePath("followed.mkv");
        const Run record = runAndRebootAfter({"record", "-d", lastSerial(), "--follow", "10", "--duration", "3",
                                              "--format", "MJPG", "--size", "320x240", "-o", file},
                                             800);
        QVERIFY2(record.status == 0, qPrintable(record.err));
        QVERIFY2(record.err.contains("was unplugged; waiting for it to come back (up to 10 s)")
                     && record.err.contains("is back"),
                 qPrintable(record.err));
        const QString ffprobe = QStandardPaths::findExecutable("ffprobe");
        if (!ffprobe.isEmpty()) {
            // One playable file whose time stamps keep the time away.
            QProcess probe;
            probe.start(ffprobe, {"-v", "error", "-select_streams", "v:0", "-show_entries", "packet=pts_time", "-of",
                                  "csv=p=0", file});
            QVERIFY(probe.waitForFinished(30000));
            QCOMPARE(probe.exitCode(), 0);
            QList<double> times;
            for (const QByteArray& row : probe.readAllStandardOutput().trimmed().split('\n'))
                times << row.toDouble();
            double widest = 0;
            for (int i = 1; i < times.size(); ++i)
                widest = qMax(widest, times[i] - times[i - 1]);
            QVERIFY2(times.size() > 20 && widest > 1.0, qPrintable(QString("%1 frames, widest gap %2 s")
                                                                     .arg(times.size())
                                                                     .arg(widest)));
        }

        const Run stats = runAndRebootAfter({"stats", "-d", lastSerial(), "--follow", "--duration", "3", "--format",
                                             "MJPG", "--size", "320x240"},
                                            800);
        QVERIFY2(stats.status == 0, qPrintable(stats.err));
        QVERIFY2(stats.out.contains(QRegularExpression("outages: +1, [0-9.]+ s without the camera, about [1-9]")),
                 qPrintable(stats.out));

        // Without --follow: the message and exit status of an unplug, as before.
        const Run grab = runAndRebootAfter({"grab", "-d", lastSerial(), "--duration", "4", "-o", dir.path()}, 500);
        QCOMPARE(grab.status, 3);
        QCOMPARE(runCommand({"grab", "-d", lastSerial(), "--follow=-1"}).status, 2);
    }

    void damagedFramesAreLeftOutNotDecoded()
    {
        StreamFormat rgb;
        rgb.fourcc = "RGB3";
        rgb.width = 64;
        rgb.height = 48;
        rgb.bytesPerLine = 64 * 3;
        const QByteArray whole(rgb.bytesPerLine * rgb.height, '\x40');
        const auto bytes = [](const QByteArray& a) { return reinterpret_cast<const unsigned char*>(a.constData()); };
        QCOMPARE(FrameImage::convert(rgb, bytes(whole), whole.size()).size(), QSize(64, 48));
        QVERIFY(FrameImage::convert(rgb, bytes(whole), whole.size() - 1).isNull());
        QVERIFY(FrameImage::convert(rgb, nullptr, 0).isNull());

        // A JPEG header claiming 65500 x 65500 pixels, and plain noise.
        StreamFormat mjpg = rgb;
        mjpg.fourcc = "MJPG";
        const QByteArray huge = QByteArray::fromHex("ffd8ffc0000b08ffdcffdc01011100ffda0008010100003f00ffd9");
        QVERIFY(FrameImage::convert(mjpg, bytes(huge), huge.size()).isNull());
        const QByteArray noise(1000, '\x17');
        QVERIFY(FrameImage::convert(mjpg, bytes(noise), noise.size()).isNull());

        QTemporaryDir dir;
        VideoRecorder recorder(dir.filePath("short.mkv"), rgb);
        QVERIFY(!recorder.write(bytes(whole), whole.size() / 2, 0));
        QVERIFY(recorder.write(bytes(whole), whole.size(), 0));
        recorder.finish();
    }

    void rawFramesComeBackBitExact_data()
    {
        QTest::addColumn<QString>("fourcc");
        QTest::addColumn<int>("bytesPerPixel");
        QTest::addColumn<QString>("decodedAs");
        QTest::newRow("RGB3") << "RGB3" << 3 << "rgb24";
        QTest::newRow("BGR3") << "BGR3" << 3 << "bgr24";
        QTest::newRow("YUYV") << "YUYV" << 2 << "yuyv422";
        QTest::newRow("GRBG") << "GRBG" << 1 << "gray";
    }

    void rawFramesComeBackBitExact()
    {
        QFETCH(QString, fourcc);
        QFETCH(int, bytesPerPixel);
        QFETCH(QString, decodedAs);
        const QString ffmpeg = QStandardPaths::findExecutable("ffmpeg");
        if (ffmpeg.isEmpty())
            QSKIP("ffmpeg is not installed (package ffmpeg)");
        StreamFormat format;
        format.fourcc = fourcc;
        format.width = 64;
        format.height = 48;
        format.bytesPerLine = 64 * bytesPerPixel;
        QByteArray frames;
        QTemporaryDir dir;
        const QString file = dir.filePath("exact.mkv");
        {
            VideoRecorder recorder(file, format);
            for (int frame = 0; frame < 2; ++frame) {
                QByteArray bytes(format.bytesPerLine * format.height, '\0');
                for (int i = 0; i < bytes.size(); ++i)
                    bytes[i] = char((i * 7 + frame * 31 + i / 97) & 0xff);
                QVERIFY(recorder.write(reinterpret_cast<const unsigned char*>(bytes.constData()), bytes.size(),
                                       frame * 16667));
                frames += bytes;
            }
        }
        QProcess decode;
        decode.start(ffmpeg, {"-v", "error", "-i", file, "-f", "rawvideo", "-pix_fmt", decodedAs, "-"});
        QVERIFY(decode.waitForFinished(60000));
        QCOMPARE(decode.readAllStandardOutput(), frames);
    }

    void statisticsCountGapsLateFramesAndRate()
    {
        StreamStatistics statistics(10.0);
        // 0.1 s apart, frames 3 and 4 missing (a late arrival), one without bytes.
        const double times[] = {0.0, 0.1, 0.2, 0.5, 0.6};
        const unsigned long long numbers[] = {0, 1, 2, 5, 6};
        for (int i = 0; i < 5; ++i)
            statistics.add(numbers[i], times[i], true);
        statistics.add(7, 0.7, false);
        QCOMPARE(statistics.frames(), 5LL);
        QCOMPARE(statistics.emptyFrames(), 1LL);
        QCOMPARE(statistics.missing(), 2LL);
        QCOMPARE(statistics.gaps(), 1LL);
        QCOMPARE(statistics.late(), 1LL);
        QVERIFY(qAbs(statistics.deliveredRate() - 4.0 / 0.6) < 1e-9);
        QVERIFY(statistics.summary().contains("2 missing in 1 gaps"));
    }
};

QTEST_GUILESS_MAIN(TestCtlCommands)
#include "test_ctlcommands.moc"
