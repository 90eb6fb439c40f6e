// The tarvello-ctl program as a user runs it, on two virtual cameras: what
// it prints, the files it writes and the exit status of each refusal.
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

namespace {

struct Result
{
    int status = -1;
    QString out;
    QString err;
};

Result run(const QString& program, const QStringList& arguments, const QByteArray& input = QByteArray(),
           const QString& virtualCameras = "2")
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("IMAGEACQUISITION_VIRTUAL_CAMERAS", virtualCameras);
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    Result result;
    if (!process.waitForFinished(120000)) {
        process.kill();
        process.waitForFinished();
        result.err = "did not finish";
        return result;
    }
    result.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = QString::fromUtf8(process.readAllStandardOutput());
    result.err = QString::fromUtf8(process.readAllStandardError());
    return result;
}

Result ctl(const QStringList& arguments, const QByteArray& input = QByteArray())
{
    return run(TARVELLO_CTL, arguments, input);
}

// Real cameras may be plugged in where the tests run; the commands that
// touch a camera name the first virtual one, so that only it is written to.
Result onVirtual(const QStringList& arguments, const QByteArray& input = QByteArray())
{
    return ctl(arguments + QStringList{"-d", "(virtual 1)"}, input);
}

QJsonValue json(const Result& result)
{
    const QJsonDocument document = QJsonDocument::fromJson(result.out.toUtf8());
    return document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object());
}

QString probe(const QString& file, const QString& entries)
{
    QProcess ffprobe;
    ffprobe.start("ffprobe", {"-v", "error", "-count_frames", "-select_streams", "v:0", "-show_entries",
                              "stream=" + entries, "-of", "csv=p=0", file});
    ffprobe.waitForFinished(60000);
    return QString::fromUtf8(ffprobe.readAllStandardOutput()).trimmed();
}

#define CHECK_RUN(result, expectedStatus)                                                                          \
    QVERIFY2((result).status == (expectedStatus),                                                                  \
             qPrintable(QString("status %1, stderr: %2").arg((result).status).arg((result).err)))

} // namespace

class TestCtlEndToEnd : public QObject
{
    Q_OBJECT

private slots:
    void helpVersionAndUnknownCommands()
    {
        // Each command's own help is checked in process (test_ctlcommands).
        const Result overview = ctl({"--help"});
        CHECK_RUN(overview, 0);
        QVERIFY(overview.out.contains("  serial "));
        const Result help = ctl({"grab", "--help"});
        CHECK_RUN(help, 0);
        QVERIFY(help.out.contains("tarvello-ctl grab") && help.out.contains("3  no such camera"));
        CHECK_RUN(ctl({"--version"}), 0);
        CHECK_RUN(ctl({"explode"}), 2);
        CHECK_RUN(ctl({"list", "--bogus"}), 2);

        const Result window = run(TARVELLO_CENTER, {"--version"});
        CHECK_RUN(window, 0);
        QVERIFY(window.out.startsWith("tarvello-center "));
        QVERIFY(run(TARVELLO_CENTER, {"--help"}).out.contains("--version"));
    }

    void listingsAndSelectors()
    {
        // Virtual cameras are listed after any real ones.
        const QJsonArray cameras = json(ctl({"list", "--json"})).toArray();
        QVERIFY(cameras.size() >= 2);
        const QJsonObject second = cameras.last().toObject();
        QCOMPARE(second["serial"].toString(), QString("KVV-000002"));
        QVERIFY(second["serial_line"].toString().startsWith("/dev/pts/"));
        QVERIFY(ctl({"list"}).out.contains("platform:virtual-camera-2"));
        // No camera at all is "no such camera" for list as for every command.
        const Result none = run(TARVELLO_CTL, {"list", "--json"}, QByteArray(), "0");
        if (json(none).toArray().isEmpty()) {
            CHECK_RUN(none, 3);
            const Result text = run(TARVELLO_CTL, {"list"}, QByteArray(), "0");
            CHECK_RUN(text, 3);
            QVERIFY(text.err.contains("No camera found"));
        }

        const QString index = QString::number(second["index"].toInt());
        for (const QString& selector : {index, QString("virtual2"), QString("KVV-000002"),
                                       QString("platform:virtual-camera-2"), QString("(virtual 2)")}) {
            const QJsonObject info = json(ctl({"info", "--json", "-d", selector})).toObject();
            QCOMPARE(info["Name"].toString(), QString("Kelvane KVC-1080 (virtual 2)"));
            QVERIFY(info.contains("Is a Kelvane Device") && info.contains("Firmware Version"));
        }
        const Result several = ctl({"info", "-d", "KVC-1080 (virtual"});
        CHECK_RUN(several, 3);
        QVERIFY(several.err.contains("several") && several.err.contains("KVV-000001") && several.err.contains("KVV-000002"));
        CHECK_RUN(ctl({"-d", "99", "controls"}), 3);

        const QJsonArray formats = json(onVirtual({"formats", "--json"})).toArray();
        QVERIFY(formats.size() >= 3);
        const QJsonObject mjpg = formats[0].toObject();
        QCOMPARE(mjpg["fourcc"].toString(), QString("MJPG"));
        QVERIFY(mjpg["compressed"].toBool());
        QVERIFY(!mjpg["sizes"].toArray().first().toObject()["intervals"].toArray().isEmpty());
        QVERIFY(onVirtual({"formats"}).out.contains("(60 fps)"));

        const QJsonArray controls = json(onVirtual({"controls", "--json"})).toArray();
        QJsonObject temperature;
        for (const QJsonValue& control : controls) {
            if (control.toObject()["key"] == "temperature_c")
                temperature = control.toObject();
        }
        QVERIFY(temperature["flags"].toArray().contains("read-only"));
        QCOMPARE(temperature["family"].toString(), QString("kelvane"));
    }

    void setRefusesBeforeWritingAndReportsTheCamera()
    {
        const Result bad = onVirtual({"set", "brightness=20", "contrast=999"});
        CHECK_RUN(bad, 2);
        QVERIFY(bad.err.contains("Contrast: 999 is out of range") && bad.err.contains("Nothing was written"));
        QVERIFY(bad.out.isEmpty());
        CHECK_RUN(onVirtual({"set", "sharpness=1"}), 2);
        const Result readOnly = onVirtual({"set", "temperature_c=1"});
        CHECK_RUN(readOnly, 4);
        QVERIFY(readOnly.err.contains("read-only"));

        const Result camera = onVirtual({"set", "lock_auto_controls=1", "trigger_auto_controls=1"});
        CHECK_RUN(camera, 4);
        QVERIFY2(camera.err.contains("locked") && camera.err.contains("Written: Lock Auto Controls = 1"),
                 qPrintable(camera.err));
        QVERIFY(!camera.err.contains("devicestate.cpp"));

        const Result good = onVirtual({"set", "exposure_time_us=20000", "exposure_auto=off", "test_pattern=grey ramp",
                                 "restart_sequence"});
        CHECK_RUN(good, 0);
        QVERIFY(good.out.contains("Test Pattern = Grey Ramp") && good.out.contains("Restart Sequence pressed"));
        QVERIFY(onVirtual({"get", "Brightness", "test_pattern"}).out.contains("Test Pattern = Colour Bars"));
        CHECK_RUN(onVirtual({"get", "nothing"}), 2);
        CHECK_RUN(ctl({"reset", "-d", "(virtual 2)"}), 0);
    }

    void profilesAreCheckedWholeBeforeLoading()
    {
        QTemporaryDir dir;
        const QString file = dir.filePath("lab.json");
        CHECK_RUN(onVirtual({"profile", "save", file}), 0);
        QFile saved(file);
        QVERIFY(saved.open(QIODevice::ReadOnly));
        QJsonObject profile = QJsonDocument::fromJson(saved.readAll()).object();
        QJsonArray controls = profile["controls"].toArray();
        for (int i = 0; i < controls.size(); ++i) {
            if (controls[i].toObject()["name"] == "Gain")
                controls[i] = QJsonObject{{"name", "Gain"}, {"value", 42}};
        }
        profile["controls"] = controls;
        const QByteArray changed = QJsonDocument(profile).toJson();

        const Result dry = onVirtual({"profile", "load", "-", "--dry-run"}, changed);
        CHECK_RUN(dry, 0);
        QCOMPARE(dry.out.trimmed(), QString("would set Gain: 0 -> 42"));
        const Result load = ctl({"profile", "load", "-", "-d", "(virtual 2)"}, changed);
        CHECK_RUN(load, 0);
        QVERIFY(load.out.contains("set Gain = 42") && load.err.contains("saved on"));

        controls.append(QJsonObject{{"name", "Iris, Absolute"}, {"value", 3}});
        profile["controls"] = controls;
        const Result foreign = onVirtual({"profile", "load", "-"}, QJsonDocument(profile).toJson());
        CHECK_RUN(foreign, 2);
        QVERIFY(foreign.err.contains("Iris, Absolute: this camera has no such control"));
        QVERIFY(!foreign.out.contains("set "));
        CHECK_RUN(ctl({"profile", "load", "-"}, "not json"), 2);
        CHECK_RUN(ctl({"profile", "load", dir.filePath("missing.json")}), 2);
        CHECK_RUN(ctl({"profile", "frobnicate", file}), 2);
    }

    void grabWritesFilesAndASideFile()
    {
        QTemporaryDir dir;
        const Result png = onVirtual({"grab", "-n", "2", "--format", "YUYV", "--size", "320x240", "-o", dir.path()});
        CHECK_RUN(png, 0);
        QImage first(dir.filePath("frame-000001.png"));
        QCOMPARE(first.size(), QSize(320, 240));
        QFile csv(dir.filePath("frame.csv"));
        QVERIFY(csv.open(QIODevice::ReadOnly));
        const QList<QByteArray> rows = csv.readAll().trimmed().split('\n');
        QCOMPARE(rows.size(), 3);
        QVERIFY(rows[1].endsWith(",YUYV,320,240,frame-000001.png"));

        const Result sent = onVirtual({"grab", "-n", "1", "--format", "MJPG", "--type", "jpeg", "-o", dir.path(), "--prefix",
                                 "m", "--index", dir.filePath("m.json")});
        CHECK_RUN(sent, 0);
        QFile jpeg(dir.filePath("m-000001.jpg"));
        QVERIFY(jpeg.open(QIODevice::ReadOnly));
        const QJsonArray index = QJsonDocument::fromJson([&] {
                                     QFile f(dir.filePath("m.json"));
                                     f.open(QIODevice::ReadOnly);
                                     return f.readAll();
                                 }())
                                     .array();
        QCOMPARE(index.size(), 1);
        // Stored as sent: the file is exactly the frame's bytes.
        QCOMPARE(jpeg.size(), qint64(index[0].toObject()["size"].toInt()));

        CHECK_RUN(onVirtual({"grab", "--size", "3x3"}), 2);
        CHECK_RUN(onVirtual({"grab", "--type", "gif"}), 2);
        CHECK_RUN(onVirtual({"grab", "-n", "-4"}), 2);
    }

    void statsReportsTheStream()
    {
        const Result stats = onVirtual({"stats", "--duration", "1", "--json", "--format", "RGB3", "--size", "320x240", "--fps", "55"});
        CHECK_RUN(stats, 0);
        const QJsonObject report = json(stats).toObject();
        QVERIFY(report["frames"].toInt() > 0);
        QCOMPARE(report["nominal_fps"].toDouble(), 60.0);
        QVERIFY(report.contains("late_frames") && report.contains("interval_stddev_ms"));
        const Result watch = onVirtual({"stats", "--duration", "1.5", "--watch"});
        CHECK_RUN(watch, 0);
        QVERIFY(watch.out.contains("1 s: ") && watch.out.contains("frame numbers:"));
        CHECK_RUN(onVirtual({"stats", "--duration", "soon"}), 2);
    }

    void recordingsOpenInFfprobe()
    {
        if (QStandardPaths::findExecutable("ffprobe").isEmpty())
            QSKIP("ffprobe is not installed (package ffmpeg)");
        QTemporaryDir dir;
        const QString mjpg = dir.filePath("sent.mkv");
        CHECK_RUN(onVirtual({"record", "-n", "12", "--format", "MJPG", "--size", "640x480", "-o", mjpg}), 0);
        QCOMPARE(probe(mjpg, "codec_name,width,height,nb_read_frames"), QString("mjpeg,640,480,12"));
        const QString raw = dir.filePath("raw.mkv");
        const Result rgb = onVirtual({"record", "-n", "9", "--format", "RGB3", "--size", "320x240", "--interval", "1/60", "-o", raw, "--json"});
        CHECK_RUN(rgb, 0);
        QCOMPARE(json(rgb).toObject()["codec"].toString(), QString("ffv1"));
        QCOMPARE(probe(raw, "codec_name,width,height,nb_read_frames"), QString("ffv1,320,240,9"));
        // Time stamps are the camera's: 60 frames a second, counted from the first.
        const QString durations = probe(raw, "r_frame_rate");
        QVERIFY2(durations.startsWith("60/1"), qPrintable(durations));
        CHECK_RUN(onVirtual({"record", "-n", "2", "-o", dir.filePath("x.unknownsuffix")}), 2);
        CHECK_RUN(onVirtual({"record", "-n", "2", "-o", dir.filePath("no/such/folder.mkv")}), 1);
    }

    void doctorExplainsADeniedNode()
    {
        QTemporaryDir root;
        QDir(root.path()).mkpath("dev");
        QDir(root.path()).mkpath("rules");
        const QString node = root.filePath("dev/video0");
        QFile(node).open(QIODevice::WriteOnly);
        ::chmod(node.toLocal8Bit().constData(), 0600);
        const Result denied = ctl({"doctor", "--dev-root", root.filePath("dev"), "--udev-rules-dirs",
                                   root.filePath("rules"), "--user", "nobody"});
        CHECK_RUN(denied, 1);
        QVERIFY2(denied.out.contains("video0 cannot be opened by nobody") && denied.out.contains("mode 0600")
                     && denied.out.contains("70-tarvello-center.rules is not installed")
                     && denied.out.contains("no USB serial line"),
                 qPrintable(denied.out));

        QFile(root.filePath("rules/70-tarvello-center.rules")).open(QIODevice::WriteOnly);
        ::chmod(node.toLocal8Bit().constData(), 0666);
        qputenv("TARVELLO_DEV_ROOT", root.filePath("dev").toLocal8Bit());
        qputenv("TARVELLO_UDEV_RULES_DIRS", root.filePath("rules").toLocal8Bit());
        const Result fine = ctl({"doctor", "--json", "--user", "nobody"});
        qunsetenv("TARVELLO_DEV_ROOT");
        qunsetenv("TARVELLO_UDEV_RULES_DIRS");
        CHECK_RUN(fine, 0);
        const QJsonArray findings = json(fine).toArray();
        QVERIFY2(QJsonDocument(findings).toJson().contains("is installed"), qPrintable(fine.out));
        CHECK_RUN(ctl({"doctor", "--user", "no-such-user-here"}), 2);

        // A serial line some program keeps open is named with that program.
        QFile line(root.filePath("dev/ttyACM0"));
        QVERIFY(line.open(QIODevice::ReadWrite));
        line.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadOther
                            | QFileDevice::WriteOther);
        const Result held = ctl({"doctor", "--dev-root", root.filePath("dev"), "--udev-rules-dirs", root.filePath("rules")});
        CHECK_RUN(held, 1);
        QVERIFY2(held.out.contains(QString("ttyACM0 is held by %1 (").arg(::getpid())), qPrintable(held.out));
    }

    void serialRefusesALineThatIsNotThere()
    {
        const Result missing = ctl({"serial", "--port", "/nonexistent/tty", "--duration", "0.2"});
        CHECK_RUN(missing, 1);
        QVERIFY(missing.err.contains("Cannot open /nonexistent/tty"));
        CHECK_RUN(ctl({"serial", "--duration", "later"}), 2);
    }

    void linkOfAKilledVirtualCameraIsRemovedByTheNextProgram()
    {
        const QFileInfo path("/dev/ttyACM0");
        if (path.exists() || path.isSymLink() || ::access("/dev", W_OK) != 0)
            QSKIP("needs /dev/ttyACM0 free and /dev writable (root), where a virtual camera links its line");
        QProcess holder;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("IMAGEACQUISITION_VIRTUAL_CAMERAS", "1");
        holder.setProcessEnvironment(environment);
        holder.start(TARVELLO_CTL, {"serial", "--duration", "60"});
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo("/dev/ttyACM0").isSymLink(), 10000);
        holder.kill(); // SIGKILL: no chance to clean up
        QVERIFY(holder.waitForFinished());
        QVERIFY(QFileInfo("/dev/ttyACM0").isSymLink());
        // Any program of the layer, with no virtual camera of its own.
        run(TARVELLO_CTL, {"list"}, QByteArray(), "0");
        QVERIFY(!QFileInfo("/dev/ttyACM0").isSymLink() && !QFile::exists("/dev/.ttyACM0.owner"));
    }
};

QTEST_GUILESS_MAIN(TestCtlEndToEnd)
#include "test_ctl_endtoend.moc"
