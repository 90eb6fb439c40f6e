// The virtual camera through the camera layer's own interfaces.
#include "virtualcameratesting.h"

#include <imageacquisition/usbbandwidth.h>

#include "devicelink.h"

#include <assertfailureexception.h>

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>
#include <csignal>
#include <climits>
#include <fcntl.h>
#include <mutex>
#include <sys/file.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace ImageAcquisition;
using namespace VirtualCameraTesting;

namespace {

// The next frame with a picture, null after a while; empty frames on the way are handed back.
IFrame* waitForFrame(IStreamingCamera& camera)
{
    QElapsedTimer timer;
    for (timer.start(); timer.elapsed() < 3000; QThread::msleep(2)) {
        IFrame* frame = camera.getFrame();
        if (!frame->isEmpty())
            return frame;
        camera.releaseFrame(frame);
    }
    return nullptr;
}

int formatIndex(ICamera& camera, const char* fourcc)
{
    for (int i = 0; i < camera.getFormatCount(); ++i) {
        if (qstrcmp(camera.getFormat(i)->getFourCC(), fourcc) == 0)
            return i;
    }
    return -1;
}

template <typename T>
T* controlAs(ICamera& camera, const char* name)
{
    for (int i = 0; i < camera.getControlCount(); ++i) {
        if (qstrcmp(camera.getControl(i)->getName(), name) == 0)
            return dynamic_cast<T*>(camera.getControl(i));
    }
    return nullptr;
}

// Streams for as long as it lives.
struct Stream
{
    explicit Stream(IStreamingCamera& camera) : camera(camera)
    {
        ok = camera.allocateBuffers(2) == 0 && camera.startStreaming() == 0;
    }
    ~Stream()
    {
        camera.stopStreaming();
        camera.releaseBuffers();
    }
    IStreamingCamera& camera;
    bool ok;
};

QByteArray bytesOf(const IFrame* frame)
{
    return QByteArray(reinterpret_cast<const char*>(frame->getData()), frame->getSize());
}

struct RecordingClient : IContinuousCameraMonitor::IClient
{
    void onCameraEvent(ICameraEvent* ev) override
    {
        std::lock_guard<std::mutex> lock(mutex);
        types.append(ev->getType());
        onTestThread |= std::this_thread::get_id() == testThread;
        delete ev;
    }
    QList<int> seen()
    {
        std::lock_guard<std::mutex> lock(mutex);
        return types;
    }
    std::mutex mutex;
    QList<int> types;
    const std::thread::id testThread = std::this_thread::get_id();
    bool onTestThread = false;
};

// The camera's serial line, as a terminal program sees it.
struct SerialLine
{
    SerialLine() : fd(::open(VirtualCameras::serialLinePath(0).c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK)) {}
    ~SerialLine() { ::close(fd); }
    bool say(const QByteArray& line) { return ::write(fd, line.constData(), size_t(line.size())) == line.size(); }
    // What the camera says until expected shows up.
    QByteArray readUntil(const QByteArray& expected)
    {
        QByteArray text;
        QElapsedTimer timer;
        for (timer.start(); timer.elapsed() < 3000 && !text.contains(expected);) {
            char buffer[512];
            const ssize_t got = ::read(fd, buffer, sizeof buffer);
            if (got > 0)
                text.append(buffer, static_cast<int>(got));
            else
                QThread::msleep(20);
        }
        return text;
    }
    const int fd;
};

} // namespace

class TestVirtualCamera : public QObject
{
    Q_OBJECT

private slots:
    void init() { plugInFresh(1); }
    void cleanupTestCase() { plugInFresh(0); }

    void devicesAndTheirFormats()
    {
        plugInFresh(2);
        std::unique_ptr<IDeviceList> list(ICameraFactory::getUniqueInstance()->getDeviceList());
        QCOMPARE(list->getDeviceCount(), 2);
        const IDevice* device = list->getDevice(0);
        QCOMPARE(device->getVendorId(), "2f7a");
        QCOMPARE(device->getManufacturer(), "Kelvane");
        QVERIFY(qstrcmp(device->getSerial(), list->getDevice(1)->getSerial()) != 0);
        QVERIFY(device->supportsStreaming() && device->supportsVideoCapture());
        QVERIFY(!list->getDevice(-1) && !list->getDevice(2));
        QVERIFY(!ICameraFactory::getUniqueInstance()->createCamera(nullptr));

        // The maker's camera only where its serial line is at /dev/ttyACM0.
        char target[PATH_MAX] = {};
        const bool linkedToUs = readlink("/dev/ttyACM0", target, sizeof target - 1) > 0
                                && VirtualCameras::serialLinePath(0) == target;
        QCOMPARE(device->isKelvaneDevice(), linkedToUs);
        QVERIFY(!list->getDevice(1)->isKelvaneDevice());
        // Each names its own line, linked or not.
        QCOMPARE(QString(device->getSerialLine()), QString::fromStdString(VirtualCameras::serialLinePath(0)));
        QCOMPARE(QString(list->getDevice(1)->getSerialLine()), QString::fromStdString(VirtualCameras::serialLinePath(1)));


        auto camera = openCamera();
        QStringList codes;
        for (int i = 0; i < camera->getFormatCount(); ++i)
            codes << camera->getFormat(i)->getFourCC();
        QCOMPARE(codes, QStringList({"MJPG", "GRBG", "YUYV", "RGB3", "BGR3"}));
        QVERIFY(camera->getFormat(0)->isCompressed() && !camera->getFormat(1)->isCompressed());
        QVERIFY(camera->getFormat(3)->isEmulated() && !camera->getFormat(1)->isEmulated());

        const int bytesPerPixel[] = {0, 1, 2, 3, 3};
        for (int f = 0; f < camera->getFormatCount(); ++f) {
            IPixelFormat* format = camera->getFormat(f);
            QStringList sizes;
            for (int r = 0; r < format->getResolutionCount(); ++r) {
                IResolution* size = format->getResolution(r);
                sizes << QString("%1x%2").arg(size->getWidth()).arg(size->getHeight());
                QCOMPARE(size->getBytesPerLine(), int(size->getWidth()) * bytesPerPixel[f]);
                QStringList intervals;
                for (int i = 0; i < size->getFrameIntervalCount(); ++i) {
                    const IFrameInterval* t = size->getFrameInterval(i);
                    intervals << QString("%1/%2").arg(t->getNumerator()).arg(t->getDenominator());
                }
                QCOMPARE(intervals, size->getWidth() == 3840 ? QStringList({"1/30", "1/15"})
                                                             : QStringList({"1/60", "1/30", "1/15", "2/15"}));
            }
            QCOMPARE(sizes, QStringList({"320x240", "640x480", "1280x720", "1920x1080", "3840x2160"}));
        }
        QVERIFY(!camera->getFormat(5) && !camera->getFormat(4)->getResolution(5)
                && !camera->getFormat(4)->getResolution(4)->getFrameInterval(2) && !camera->getFormat(-1));
        QVERIFY(!camera->getControl(-1) && !camera->getControl(camera->getControlCount()));

        qputenv("IMAGEACQUISITION_VIRTUAL_CAMERAS", "not a number");
        list.reset(ICameraFactory::getUniqueInstance()->getDeviceList());
        QCOMPARE(list->getDeviceCount(), 0);
    }

    void heldFramesStopTheFlowAndOutliveTheirStream()
    {
        auto camera = openCamera();
        auto other = openCamera();
        QVERIFY(camera->setFormat(formatIndex(*camera, "GRBG"), 0, 0));
        QCOMPARE(camera->allocateBuffers(2), 0);
        QCOMPARE(camera->startStreaming(), 0);
        IFrame* a = waitForFrame(*camera);
        IFrame* b = waitForFrame(*camera);
        QVERIFY(a && b && a != b);
        QTest::qWait(50);
        // Both buffers are out: what comes due meanwhile is dropped.
        QVERIFY(camera->getFrame()->isEmpty());
        const unsigned long long held = b->getFrameNumber();
        camera->releaseFrame(a);
        IFrame* c = waitForFrame(*camera);
        QVERIFY(c && c->getFrameNumber() > held + 1);

        const QByteArray before = bytesOf(c);
        QCOMPARE(camera->releaseBuffers(), -EBUSY);
        QCOMPARE(camera->stopStreaming(), 0);
        QCOMPARE(camera->releaseBuffers(), 0);
        QCOMPARE(bytesOf(c), before);
        other->releaseFrame(c); // not the other camera's: ignored
        camera->releaseFrame(c);
        camera->releaseFrame(c); // already back: ignored
        camera->releaseFrame(b);

        // A held frame of a camera that is deleted goes with it.
        QCOMPARE(camera->allocateBuffers(2), 0);
        QCOMPARE(camera->startStreaming(), 0);
        QVERIFY(waitForFrame(*camera));
    }

    void streamingCallsAndFormatRefusals()
    {
        auto camera = openCamera();
        QVERIFY(camera->getFrame()->isEmpty()); // not streaming: empty, never null
        QCOMPARE(camera->startStreaming(), -EINVAL); // no buffers
        QCOMPARE(camera->allocateBuffers(0), -EINVAL);
        for (const auto& bad : {QVector<int>{-1, 0, 0}, {5, 0, 0}, {0, 5, 0}, {0, 0, 4}, {0, 4, 2}})
            QVERIFY(!camera->setFormat(bad[0], bad[1], bad[2]));
        QVERIFY(camera->setFormat(2, 3, 1));
        QCOMPARE(camera->getCurrentResolutionIndex(), 3);
        QCOMPARE(camera->getCurrentFrameIntervalIndex(), 1);

        auto second = openCamera();
        QCOMPARE(camera->allocateBuffers(2), 0);
        QCOMPARE(second->allocateBuffers(2), -EBUSY); // one streaming user a device
        QVERIFY(!camera->setFormat(0, 0, 0));
        QCOMPARE(camera->startStreaming(), 0);
        QCOMPARE(camera->startStreaming(), 0);
        QCOMPARE(camera->allocateBuffers(2), -EBUSY);
        QVERIFY(!camera->setFormat(0, 0, 0));
        QCOMPARE(camera->getCurrentFormatIndex(), 2);
        camera.reset(); // deleted while streaming
        QCOMPARE(second->allocateBuffers(2), 0);
    }

    void waitingForFrames()
    {
        auto camera = openCamera();
        QCOMPARE(camera->waitForFrame(10), -EINVAL); // not streaming
        QVERIFY(camera->setFormat(formatIndex(*camera, "YUYV"), 0, 3)); // 2/15 s
        Stream stream(*camera);
        QVERIFY(stream.ok);
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(camera->waitForFrame(5000), 1);
        // Within a period (and then some for a loaded machine), not at the timeout.
        QVERIFY2(clock.elapsed() < 2000, qPrintable(QString::number(clock.elapsed())));
        IFrame* frame = camera->getFrame();
        QVERIFY(!frame->isEmpty());
        camera->releaseFrame(frame);
        QCOMPARE(camera->waitForFrame(0), 0); // the next one is not due yet
        QCOMPARE(camera->waitForFrame(5), 0);

        // An unplug ends a wait at once, whatever its timeout.
        std::thread unplugger([] {
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            VirtualCameras::unplug(0);
        });
        int status;
        while ((status = camera->waitForFrame(60000)) == 1)
            camera->releaseFrame(camera->getFrame());
        unplugger.join();
        QCOMPARE(status, -ENODEV);
        clock.restart();
        QCOMPARE(camera->waitForFrame(60000), -ENODEV);
        QVERIFY(clock.elapsed() < 1000);
    }

    void aCrowdedSimulatedBusRefusesTheStreamThatDoesNotFit()
    {
        plugInFresh(2);
        auto first = openCamera(0);
        auto second = openCamera(1);
        const int mjpg = formatIndex(*first, "MJPG");
        const int yuyv = formatIndex(*first, "YUYV");
        // 1280x720 YUYV at 1/30 holds 55.3 MB/s; MJPG 320x240 at 1/30 a quarter of 4.6.
        QVERIFY(first->setFormat(yuyv, 2, 1) && second->setFormat(yuyv, 2, 1));
        qputenv("IMAGEACQUISITION_VIRTUAL_USB_BUS", "60M");
        {
            Stream running(*first);
            QVERIFY(running.ok);
            QCOMPARE(second->allocateBuffers(2), 0);
            QCOMPARE(second->startStreaming(), -ENOSPC);
            const UsbBandwidth::Bus bus = UsbBandwidth::busOf(*second->getDevice());
            QCOMPARE(bus.capacity, 60000000LL);
            QCOMPARE(int(bus.streams.size()), 1);
            QCOMPARE(QString::fromStdString(bus.streams[0].serial), QString(first->getDevice()->getSerial()));
            QCOMPARE(QString::fromStdString(bus.streams[0].format), QString("YUYV 1280x720 at 1/30"));
            QCOMPARE(bus.streams[0].bytesPerSecond, 1280LL * 2 * 720 * 30);
            QVERIFY(UsbBandwidth::busOf(*first->getDevice()).streams.empty()); // its own is left out
            second->releaseBuffers();
            QVERIFY(second->setFormat(mjpg, 0, 1));
            Stream small(*second);
            QVERIFY(small.ok); // what fits, starts
        }
        // Stopped streams free the bus; without the variable there is no limit.
        Stream again(*second);
        QVERIFY(again.ok);
        qunsetenv("IMAGEACQUISITION_VIRTUAL_USB_BUS");
        QVERIFY(UsbBandwidth::busOf(*first->getDevice()).name.empty());
    }

    void controlsOfEveryKind()
    {
        auto camera = openCamera();
        QSet<int> types;
        for (int i = 0; i < camera->getControlCount(); ++i)
            types << camera->getControl(i)->getType();
        QCOMPARE(types, QSet<int>({2, 3, 4, 5, 6, 7, 10, 11}));

        QVERIFY(controlAs<ICameraControl>(*camera, "Temperature (C)")->isReadOnly());
        QVERIFY(!controlAs<ICameraControl>(*camera, "Error Status")->isReadOnly());

        auto* menu = controlAs<ICameraControlInt64Menu>(*camera, "Link Frequency (Hz)");
        QVERIFY(menu->getEntry(menu->getEntryCount() - 1) > INT_MAX);
        QCOMPARE(menu->getEntry(-1), 0LL);
        auto* patterns = controlAs<ICameraControlStringMenu>(*camera, "Test Pattern");
        QCOMPARE(patterns->getEntry(0), "Colour Bars");
        QCOMPARE(patterns->getEntry(patterns->getEntryCount()), "");

        char buffer[8];
        controlAs<ICameraControlString>(*camera, "Overlay Text")->getValue(buffer, sizeof buffer);
        QCOMPARE(QByteArray(buffer), QByteArray("Tarvell"));
    }

    void refusedWrites()
    {
        auto camera = openCamera();
        QVERIFY_EXCEPTION_THROWN(controlAs<ICameraControlNumeric<int>>(*camera, "Brightness")->setValue(101),
                                 AssertFailureException);
        auto* exposure = controlAs<ICameraControlNumeric<long long>>(*camera, "Exposure Time (us)");
        QVERIFY_EXCEPTION_THROWN(exposure->setValue(5), AssertFailureException);
        // Automatic exposure makes the exposure inactive: no writes then.
        QCOMPARE(controlAs<ICameraControlBoolean>(*camera, "Exposure, Auto")->getFamily(), exposure->getFamily());
        controlAs<ICameraControlBoolean>(*camera, "Exposure, Auto")->setValue(true);
        exposure->refresh();
        QVERIFY(exposure->isInactive());
        QVERIFY_EXCEPTION_THROWN(exposure->setValue(20000), AssertFailureException);
        QVERIFY_EXCEPTION_THROWN(controlAs<ICameraControlNumeric<int>>(*camera, "Temperature (C)")->setValue(2500),
                                 AssertFailureException);
        QVERIFY_EXCEPTION_THROWN(controlAs<ICameraControlStringMenu>(*camera, "Test Pattern")->setIndex(3),
                                 AssertFailureException);
        auto* text = controlAs<ICameraControlString>(*camera, "Overlay Text");
        QVERIFY_EXCEPTION_THROWN(text->setValue(QByteArray(text->getMaxLength() + 1, 'x')), AssertFailureException);
        QVERIFY_EXCEPTION_THROWN(text->setValue("tab\there"), AssertFailureException);
        QVERIFY_EXCEPTION_THROWN(text->setValue(nullptr), AssertFailureException);
        text->setValue("Hello");
        QCOMPARE(text->getLength(), 5);

        auto* trigger = controlAs<ICameraControlNumeric<int>>(*camera, "Trigger Auto Controls");
        QVERIFY_EXCEPTION_THROWN(trigger->setValue(8), AssertFailureException); // no such adjustment
        controlAs<ICameraControlNumeric<int>>(*camera, "Lock Auto Controls")->setValue(AutoFocusBit);
        QVERIFY_EXCEPTION_THROWN(trigger->setValue(AutoFocusBit), AssertFailureException);
        trigger->setValue(0); // nothing chosen is not an error

        auto* link = controlAs<ICameraControlInt64Menu>(*camera, "Link Frequency (Hz)");
        Stream stream(*camera);
        link->refresh();
        QVERIFY(link->isGrabbed());
        QVERIFY_EXCEPTION_THROWN(link->setIndex(0), AssertFailureException);
    }

    void oneShotsErrorBitsAndReset()
    {
        auto camera = openCamera();
        SerialLine line;
        QVERIFY(line.readUntil("Ready.").contains("Kelvane"));
        auto* errors = controlAs<ICameraControlNumeric<int>>(*camera, "Error Status");
        auto* trigger = controlAs<ICameraControlNumeric<int>>(*camera, "Trigger Auto Controls");
        auto* balance = controlAs<ICameraControlNumeric<int>>(*camera, "White Balance Temperature");
        auto* focus = controlAs<ICameraControlNumeric<int>>(*camera, "Focus, Absolute");
        auto* brightness = controlAs<ICameraControlNumeric<int>>(*camera, "Brightness");

        // Without frames a one-shot adjustment times out.
        trigger->setValue(AutoFocusBit);
        QTest::qWait(1200);
        errors->refresh();
        QCOMPARE(errors->getValue() & 0x20000, 0x20000);
        errors->setValue(-1);
        QCOMPARE(errors->getValue(), 0);

        // While streaming it completes, and a lens far from focus is reported.
        brightness->setValue(40);
        balance->setValue(3000);
        focus->setValue(100);
        QVERIFY(camera->setFormat(formatIndex(*camera, "GRBG"), 0, 0));
        Stream stream(*camera);
        camera->releaseFrame(waitForFrame(*camera));
        errors->refresh();
        QCOMPARE(errors->getValue(), 0x40000);
        trigger->setValue(AutoFocusBit | AutoWhiteBalanceBit);
        for (int i = 0; i < 6; ++i)
            camera->releaseFrame(waitForFrame(*camera));
        for (ICameraControl* c : std::initializer_list<ICameraControl*>{trigger, balance, focus, errors})
            c->refresh();
        QCOMPARE(trigger->getValue(), 0);
        QCOMPARE(balance->getValue(), 5000);
        QCOMPARE(focus->getValue(), 512);

        // A soft reset, allowed while streaming, brings the defaults back and greets again.
        QVERIFY(errors->getValue() != 0);
        camera->reset();
        brightness->refresh();
        errors->refresh();
        QCOMPARE(brightness->getValue(), 0);
        QCOMPARE(errors->getValue(), 0);
        QVERIFY(line.readUntil("Ready.").contains("Kelvane"));
        QVERIFY(waitForFrame(*camera));
    }

    void unpluggedCameraAnswersSafely()
    {
        auto camera = openCamera();
        std::unique_ptr<IDeviceList> oldList(ICameraFactory::getUniqueInstance()->getDeviceList());
        auto* brightness = controlAs<ICameraControlNumeric<int>>(*camera, "Brightness");
        brightness->setValue(10);
        QCOMPARE(camera->allocateBuffers(2), 0);
        QCOMPARE(camera->startStreaming(), 0);
        IFrame* held = waitForFrame(*camera);
        QVERIFY(held);

        QVERIFY(VirtualCameras::unplug(0));
        QVERIFY(!VirtualCameras::unplug(0));
        QTest::qWait(40);
        QVERIFY(camera->getFrame()->isEmpty());
        QCOMPARE(camera->stopStreaming(), -ENODEV);
        QCOMPARE(camera->releaseBuffers(), -ENODEV);
        QCOMPARE(camera->allocateBuffers(2), -ENODEV);
        QCOMPARE(camera->startStreaming(), -ENODEV);
        QVERIFY(!camera->setFormat(0, 0, 0));
        QVERIFY_EXCEPTION_THROWN(brightness->setValue(20), AssertFailureException);
        brightness->refresh();
        QCOMPARE(brightness->getValue(), 10);
        camera->reset();
        QVERIFY(held->getSize() > 0);
        camera->releaseFrame(held);

        QVERIFY(!ICameraFactory::getUniqueInstance()->createCamera(oldList->getDevice(0)));
        std::unique_ptr<IDeviceList> list(ICameraFactory::getUniqueInstance()->getDeviceList());
        QCOMPARE(list->getDeviceCount(), 0);
    }

    // A reboot from the serial console: gone and back as a new device with the same serial number,
    // reported from the monitor's thread.
    void serialConsoleAndMonitor()
    {
        RecordingClient client;
        std::unique_ptr<IContinuousCameraMonitor> monitor(
            ICameraFactory::getUniqueInstance()->createContinuousCameraMonitor());
        monitor->start(&client);
        std::unique_ptr<IDeviceList> before(ICameraFactory::getUniqueInstance()->getDeviceList());
        const QByteArray serial = before->getDevice(0)->getSerial();
        SerialLine line;
        QVERIFY(line.readUntil("Ready.").contains("Kelvane"));
        QVERIFY(line.say("\r") && line.readUntil("errors 0x").contains("temp"));
        QVERIFY(line.say("bogus\n") && line.readUntil("try help").contains("unknown command 'bogus'"));
        QVERIFY(line.say("reboot\r"));
        QTRY_COMPARE_WITH_TIMEOUT(client.seen(),
                                  QList<int>({ICameraEvent::CameraRemoved, ICameraEvent::CameraAdded}), 5000);
        std::unique_ptr<IDeviceList> after(ICameraFactory::getUniqueInstance()->getDeviceList());
        QCOMPARE(after->getDeviceCount(), 1);
        QCOMPARE(QByteArray(after->getDevice(0)->getSerial()), serial);

        monitor->stop();
        monitor->stop(); // a second stop is harmless
        QVERIFY(!client.onTestThread);
        VirtualCameras::plug();
        QTest::qWait(50);
        QCOMPARE(client.seen().size(), 2);

        // A monitor deleted while it runs stops first.
        monitor.reset(ICameraFactory::getUniqueInstance()->createContinuousCameraMonitor());
        monitor->start(&client);
        monitor.reset();
    }

    void serialDeviceLinkIsTakenOnlyWhenFreeOrAbandoned()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath("ttyACM0");
        const std::string link = path.toStdString();
        int error = 0;
        {
            auto mine = DeviceLink::create("/dev/null", link, error);
            QVERIFY(mine && QFile::symLinkTarget(path) == "/dev/null");
            QVERIFY(!DeviceLink::create("/dev/zero", link, error)); // taken, by a live process
            QCOMPARE(error, -EEXIST);
        }
        QVERIFY(!QFile::exists(path) && !QFile::exists(folder.filePath(".ttyACM0.owner")));

        // A link whose maker has ended is taken over (a note of an older
        // version: pid and target, no lock).
        const pid_t child = fork();
        if (child == 0)
            _exit(0);
        waitpid(child, nullptr, 0);
        QVERIFY(symlink("/dev/pts/901", link.c_str()) == 0);
        QFile owner(folder.filePath(".ttyACM0.owner"));
        QVERIFY(owner.open(QIODevice::WriteOnly) && owner.write(QByteArray::number(child) + " /dev/pts/901\n") > 0);
        owner.close();
        auto taken = DeviceLink::create("/dev/zero", link, error);
        QVERIFY(taken && QFile::symLinkTarget(path) == "/dev/zero");

        // What is not ours any more is left alone.
        QVERIFY(unlink(link.c_str()) == 0 && symlink("/dev/full", link.c_str()) == 0);
        taken.reset();
        QCOMPARE(QFile::symLinkTarget(path), QString("/dev/full"));
    }

    void abandonedLinkIsRemovedByAnyProcessOnlyOnceItsMakerIsGone()
    {
        const QString flock = QStandardPaths::findExecutable("flock");
        if (flock.isEmpty())
            QSKIP("flock (util-linux) is missing: no other process can hold the note here");
        QTemporaryDir folder;
        const QString path = folder.filePath("ttyACM0");
        const std::string link = path.toStdString();
        const QString note = folder.filePath(".ttyACM0.owner");
        // Another process makes the link as a virtual camera does: its note
        // (pid, start time, target) held locked for as long as it lives.
        QProcess maker;
        maker.start("/bin/sh", {"-c", "exec 9>>\"$0\" && \"$1\" -x 9 && exec sleep 60", note, flock});
        QVERIFY(maker.waitForStarted());
        const auto heldElsewhere = [&note] {
            const int fd = ::open(note.toLocal8Bit().constData(), O_RDONLY | O_CLOEXEC);
            const bool held = fd >= 0 && ::flock(fd, LOCK_EX | LOCK_NB) != 0;
            ::close(fd);
            return held;
        };
        QTRY_VERIFY(heldElsewhere());
        QFile stat(QString("/proc/%1/stat").arg(maker.processId()));
        QVERIFY(stat.open(QIODevice::ReadOnly));
        const QByteArray started = stat.readAll().split(')').last().simplified().split(' ').value(19);
        QFile text(note);
        QVERIFY(text.open(QIODevice::WriteOnly)
                && text.write(QByteArray::number(maker.processId()) + " " + started + " /dev/pts/902\n") > 0);
        text.close();
        QVERIFY(symlink("/dev/pts/902", link.c_str()) == 0);

        int error = 0;
        QVERIFY(!DeviceLink::removeAbandoned(link)); // its maker lives
        QVERIFY(!DeviceLink::create("/dev/pts/903", link, error));
        QCOMPARE(error, -EEXIST);
        QCOMPARE(QFile::symLinkTarget(path), QString("/dev/pts/902"));

        ::kill(pid_t(maker.processId()), SIGKILL);
        QVERIFY(maker.waitForFinished());
        // A link that does not point where the note says is not ours.
        QVERIFY(unlink(link.c_str()) == 0 && symlink("/dev/pts/904", link.c_str()) == 0);
        QVERIFY(!DeviceLink::removeAbandoned(link));
        QVERIFY(unlink(link.c_str()) == 0 && symlink("/dev/pts/902", link.c_str()) == 0);
        QVERIFY(DeviceLink::removeAbandoned(link));
        QVERIFY(!QFileInfo(path).isSymLink() && !QFile::exists(note));
        QVERIFY(!DeviceLink::removeAbandoned(link)); // nothing left to remove
    }

private:
    static constexpr int AutoFocusBit = 0x2;
    static constexpr int AutoWhiteBalanceBit = 0x4;
};

QTEST_GUILESS_MAIN(TestVirtualCamera)
#include "test_virtualcamera.moc"
