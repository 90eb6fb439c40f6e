// The parts of the V4L2 backend that need no device: menu gaps, range
// expansion, sysfs parsing, version texts, type codes and families, node
// ordering, frames that outlive their buffer, and the watcher's thread.

#include "menuitems.h"
#include "rangeexpansion.h"
#include "sysfsreader.h"
#include "udevwatcher.h"
#include "v4l2backend.h"
#include "v4l2controlkind.h"
#include "v4l2device.h"
#include "v4l2frame.h"
#include "v4l2pixelformat.h"

#include <QtTest>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <chrono>
#include <cstring>

using namespace ImageAcquisition;

Q_DECLARE_METATYPE(std::vector<long long>)

namespace {

void writeFile(const QString& path, const QByteArray& contents)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(contents);
}

QString sizesText(const std::vector<RangeExpansion::Size>& sizes)
{
    QStringList parts;
    for (auto size : sizes)
        parts << QString("%1x%2").arg(size.width).arg(size.height);
    return parts.join(' ');
}

QString intervalsText(const std::vector<RangeExpansion::Interval>& intervals)
{
    QStringList parts;
    for (auto interval : intervals)
        parts << QString("%1/%2").arg(interval.numerator).arg(interval.denominator);
    return parts.join(' ');
}

v4l2_capability capabilityWith(__u32 deviceCaps)
{
    v4l2_capability capability{};
    capability.capabilities = deviceCaps | V4L2_CAP_DEVICE_CAPS;
    capability.device_caps = deviceCaps;
    return capability;
}

} // namespace

class TestV4l2Logic : public QObject
{
    Q_OBJECT

private slots:
    void menuEntriesSkipGaps()
    {
        // Items 1, 3 and 4 valid (2 is a gap), given out of order and twice.
        MenuItems items({4, 1, 3, 3});
        QCOMPARE(items.count(), 3);
        QCOMPARE(items.entryOf(1), 0);
        QCOMPARE(items.entryOf(3), 1);
        QCOMPARE(items.entryOf(4), 2);
        QCOMPARE(items.entryOf(2), -1);
        QCOMPARE(items.entryOf(0), -1);
        long long item = -7;
        QVERIFY(items.itemOf(2, item));
        QCOMPARE(item, 4LL);
        QVERIFY(!items.itemOf(3, item));
        QVERIFY(!items.itemOf(-1, item));
        QCOMPARE(MenuItems().count(), 0);
    }

    void sizesInRange_data()
    {
        QTest::addColumn<unsigned>("minW");
        QTest::addColumn<unsigned>("maxW");
        QTest::addColumn<unsigned>("stepW");
        QTest::addColumn<unsigned>("minH");
        QTest::addColumn<unsigned>("maxH");
        QTest::addColumn<unsigned>("stepH");
        QTest::addColumn<QString>("expected");
        QTest::newRow("continuous up to 1280x720")
            << 1u << 1280u << 1u << 1u << 720u << 1u
            << "160x120 176x144 320x180 320x240 352x288 424x240 640x360 640x480 800x448 "
               "800x600 848x480 960x540 1024x576 1280x720";
        QTest::newRow("steps of 64x48 from 320x240")
            << 320u << 1920u << 64u << 240u << 1080u << 48u
            << "320x240 640x480 1024x576 1024x768 1280x720 1280x960";
        QTest::newRow("nothing common inside: the largest size")
            << 100u << 150u << 2u << 100u << 110u << 2u << "150x110";
        QTest::newRow("one fixed size") << 640u << 640u << 0u << 480u << 480u << 0u << "640x480";
    }

    void sizesInRange()
    {
        QFETCH(unsigned, minW);
        QFETCH(unsigned, maxW);
        QFETCH(unsigned, stepW);
        QFETCH(unsigned, minH);
        QFETCH(unsigned, maxH);
        QFETCH(unsigned, stepH);
        QFETCH(QString, expected);
        const v4l2_frmsize_stepwise range{minW, maxW, stepW, minH, maxH, stepH};
        QCOMPARE(sizesText(RangeExpansion::sizes(range)), expected);
    }

    void intervalsInRange_data()
    {
        QTest::addColumn<QList<unsigned>>("range"); // min n/d, max n/d, step n/d
        QTest::addColumn<bool>("continuous");
        QTest::addColumn<QString>("expected");
        QTest::newRow("continuous 1/60 to 1/1")
            << QList<unsigned>{1, 60, 1, 1, 1, 1} << true
            << "1/60 1/50 1/30 1/25 1/24 1/20 1/15 1/10 1/5 1/2 1/1";
        QTest::newRow("steps of 1/30 from 1/30 to 1/10")
            << QList<unsigned>{1, 30, 1, 10, 1, 30} << false << "1/30 1/15 1/10";
        QTest::newRow("nothing common inside: the shortest period")
            << QList<unsigned>{7, 100, 8, 100, 1, 100} << false << "7/100";
        QTest::newRow("zero denominator: nothing")
            << QList<unsigned>{1, 0, 1, 1, 1, 1} << true << "";
    }

    void intervalsInRange()
    {
        QFETCH(QList<unsigned>, range);
        QFETCH(bool, continuous);
        QFETCH(QString, expected);
        const v4l2_frmival_stepwise stepwise{
            {range[0], range[1]}, {range[2], range[3]}, {range[4], range[5]}};
        QCOMPARE(intervalsText(RangeExpansion::intervals(stepwise, continuous)), expected);
    }

    void bcdVersion_data()
    {
        QTest::addColumn<QString>("bcd");
        QTest::addColumn<QString>("text");
        QTest::newRow("leading zero dropped") << "0102"
                                              << "1.02";
        QTest::newRow("two-digit major") << "1234"
                                         << "12.34";
        QTest::newRow("zero") << "0000"
                              << "0.00";
        QTest::newRow("not four digits") << "12"
                                         << "12";
        QTest::newRow("not BCD") << "01a2"
                                 << "01a2";
        QTest::newRow("empty") << ""
                               << "";
    }

    void bcdVersion()
    {
        QFETCH(QString, bcd);
        QFETCH(QString, text);
        QCOMPARE(QString::fromStdString(SysfsReader::formatBcdVersion(bcd.toStdString())), text);
    }

    void usbParentFromFakeSysfs()
    {
        QTemporaryDir root;
        QVERIFY(root.isValid());
        const QString usb = root.path() + "/devices/pci0000:00/0000:00:14.0/usb1/1-2";
        writeFile(usb + "/idVendor", "2f7a\n");
        writeFile(usb + "/idProduct", "0101\n");
        writeFile(usb + "/manufacturer", "Kelvane\n");
        writeFile(usb + "/serial", "SN 42\n");
        writeFile(usb + "/bcdDevice", "0207\n");
        const QString node = usb + "/1-2:1.0/video4linux/video3";
        writeFile(node + "/name", "cam\n");
        QVERIFY(QFile::link("../../../1-2:1.0", node + "/device"));
        QVERIFY(QDir().mkpath(root.path() + "/class/video4linux"));
        QVERIFY(QFile::link(node, root.path() + "/class/video4linux/video3"));
        // A platform device (like vivid) has no USB ancestor.
        const QString platform = root.path() + "/devices/platform/vivid.0";
        writeFile(platform + "/video4linux/video0/name", "vivid\n");
        QVERIFY(QFile::link("../../../vivid.0", platform + "/video4linux/video0/device"));
        QVERIFY(QFile::link(platform + "/video4linux/video0",
                            root.path() + "/class/video4linux/video0"));

        SysfsReader reader(root.path().toStdString());
        const UsbInfo info = reader.usbInfo("video3");
        QCOMPARE(QString::fromStdString(info.vendorId), QString("2f7a"));
        QCOMPARE(QString::fromStdString(info.productId), QString("0101"));
        QCOMPARE(QString::fromStdString(info.manufacturer), QString("Kelvane"));
        QCOMPARE(QString::fromStdString(info.serial), QString("SN 42"));
        QCOMPARE(QString::fromStdString(info.firmwareVersion), QString("2.07"));
        for (const char* other : {"video0", "video9", "../video3", ""}) {
            const UsbInfo none = reader.usbInfo(other);
            QVERIFY2(none.vendorId.empty() && none.productId.empty() && none.manufacturer.empty()
                         && none.serial.empty() && none.firmwareVersion.empty(),
                     other);
        }
    }

    void deviceDescription()
    {
        v4l2_capability capability = capabilityWith(V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING);
        capability.version = (6u << 16) | (1u << 8) | 92u;
        std::memcpy(capability.card, "Webcam C1", 10);
        // A name that fills the whole field has no terminating NUL.
        std::memset(capability.bus_info, 'b', sizeof capability.bus_info);
        UsbInfo usb;
        usb.vendorId = "2F7A";
        V4l2Device kelvane("/dev/video3", capability, usb);
        QCOMPARE(QString(kelvane.getDriverVersion()), QString("6.1.92"));
        QCOMPARE(QString(kelvane.getName()), QString("Webcam C1"));
        QCOMPARE(QString(kelvane.getBusInfo()).size(), int(sizeof capability.bus_info));
        QCOMPARE(QString(kelvane.getSystemName()), QString("/dev/video3"));
        QVERIFY(kelvane.isKelvaneDevice());
        QVERIFY(kelvane.supportsVideoCapture() && kelvane.supportsStreaming());
        QVERIFY(!kelvane.supportsMultiplane() && !kelvane.supportsReadWrite());
        for (const char* vendor : {"046d", "", "2f7az"}) {
            usb.vendorId = vendor;
            QVERIFY2(!V4l2Device("/dev/video3", capability, usb).isKelvaneDevice(), vendor);
        }
    }

    void usableCaptureNodes_data()
    {
        QTest::addColumn<unsigned>("caps");
        QTest::addColumn<bool>("usable");
        QTest::newRow("capture, streaming")
            << unsigned(V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING) << true;
        QTest::newRow("capture, read only")
            << unsigned(V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_READWRITE) << false;
        QTest::newRow("multi-planar")
            << unsigned(V4L2_CAP_VIDEO_CAPTURE_MPLANE | V4L2_CAP_STREAMING) << false;
        QTest::newRow("metadata") << unsigned(V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING) << false;
        QTest::newRow("output") << unsigned(V4L2_CAP_VIDEO_OUTPUT | V4L2_CAP_STREAMING) << false;
    }

    void usableCaptureNodes()
    {
        QFETCH(unsigned, caps);
        QFETCH(bool, usable);
        // The node's own capabilities count, not those of the whole device.
        v4l2_capability capability = capabilityWith(caps);
        capability.capabilities |= V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
        QCOMPARE(V4l2Device::isUsableCapture(V4l2Device::nodeCapabilities(capability)), usable);
    }

    void fourccText()
    {
        QCOMPARE(QString::fromStdString(V4l2PixelFormat::fourccText(V4L2_PIX_FMT_RGB24)),
                 QString("RGB3"));
        QCOMPARE(
            QString::fromStdString(V4l2PixelFormat::fourccText(v4l2_fourcc('Y', '8', ' ', ' '))),
            QString("Y8"));
        QCOMPARE(
            QString::fromStdString(V4l2PixelFormat::fourccText(v4l2_fourcc_be('Y', '1', '6', ' '))),
            QString("Y16-BE"));
        QCOMPARE(QString::fromStdString(V4l2PixelFormat::fourccText(0x01020304)), QString("????"));
    }

    void controlTypeCodes_data()
    {
        QTest::addColumn<unsigned>("type");
        QTest::addColumn<unsigned>("dimensions");
        QTest::addColumn<int>("code");
        QTest::newRow("integer") << unsigned(V4L2_CTRL_TYPE_INTEGER) << 0u << 4;
        QTest::newRow("boolean") << unsigned(V4L2_CTRL_TYPE_BOOLEAN) << 0u << 2;
        QTest::newRow("menu") << unsigned(V4L2_CTRL_TYPE_MENU) << 0u << 11;
        QTest::newRow("button") << unsigned(V4L2_CTRL_TYPE_BUTTON) << 0u << 3;
        QTest::newRow("integer64") << unsigned(V4L2_CTRL_TYPE_INTEGER64) << 0u << 5;
        QTest::newRow("string") << unsigned(V4L2_CTRL_TYPE_STRING) << 0u << 10;
        QTest::newRow("bitmask") << unsigned(V4L2_CTRL_TYPE_BITMASK) << 0u << 7;
        QTest::newRow("integer menu") << unsigned(V4L2_CTRL_TYPE_INTEGER_MENU) << 0u << 6;
        QTest::newRow("integer array") << unsigned(V4L2_CTRL_TYPE_INTEGER) << 1u << 12;
        QTest::newRow("u8") << unsigned(V4L2_CTRL_TYPE_U8) << 2u << 12;
        QTest::newRow("area") << unsigned(V4L2_CTRL_TYPE_AREA) << 0u << 12;
        QTest::newRow("unknown") << 0x50u << 0u << 0;
    }

    void controlTypeCodes()
    {
        QFETCH(unsigned, type);
        QFETCH(unsigned, dimensions);
        QFETCH(int, code);
        v4l2_query_ext_ctrl query{};
        query.type = type;
        query.nr_of_dims = dimensions;
        QCOMPARE(V4l2ControlKind::typeCode(query), code);
    }

    void controlFamilies()
    {
        QCOMPARE(V4l2ControlKind::family(V4L2_CID_AUTOGAIN, false),
                 V4l2ControlKind::family(V4L2_CID_GAIN, false));
        QCOMPARE(V4l2ControlKind::family(V4L2_CID_EXPOSURE_AUTO, false),
                 V4l2ControlKind::family(V4L2_CID_EXPOSURE_ABSOLUTE, false));
        QVERIFY(V4l2ControlKind::family(V4L2_CID_BRIGHTNESS, false)
                != V4l2ControlKind::family(V4L2_CID_EXPOSURE_ABSOLUTE, false));
        QCOMPARE(V4l2ControlKind::family(V4L2_CID_BRIGHTNESS, true), ICameraControl::FamilyUser);
        QCOMPARE(V4l2ControlKind::family(V4L2_CID_USER_BASE + 0x1001, true),
                 ICameraControl::FamilyKelvane);
        QCOMPARE(V4l2ControlKind::family(V4L2_CID_USER_BASE + 0x1001, false),
                 ICameraControl::FamilyUser);
        QCOMPARE(V4l2ControlKind::family(V4L2_CID_PRIVATE_BASE + 3, true),
                 ICameraControl::FamilyKelvane);
        QCOMPARE(V4l2ControlKind::family(V4L2_CID_PRIVATE_BASE + 3, false),
                 ICameraControl::FamilyOther);
    }

    void videoNodesInNumberOrder()
    {
        QTemporaryDir dev;
        for (const char* name :
             {"video10", "video2", "video0", "videoX", "vbi0", "video", "video3a"})
            writeFile(dev.path() + "/" + name, "");
        QStringList names;
        for (const auto& path : V4l2Backend::videoNodes(dev.path().toStdString()))
            names << QFileInfo(QString::fromStdString(path)).fileName();
        QCOMPARE(names, QStringList({"video0", "video2", "video10"}));
        QVERIFY(V4l2Backend::videoNodes("/nonexistent-folder").empty());
    }

    void frameKeepsItsBytesWhenDetached()
    {
        std::vector<unsigned char> buffer = {1, 2, 3, 4};
        V4l2Frame frame(1);
        frame.fill(buffer.data(), 4, 9, {5, 6});
        QVERIFY(!frame.isEmpty());
        frame.detach();
        buffer.assign({0, 0, 0, 0});
        QCOMPARE(frame.getSize(), 4);
        QCOMPARE(int(frame.getData()[3]), 4);
        QCOMPARE(frame.getFrameNumber(), 9ULL);
        QCOMPARE(frame.getTimeStamp().microseconds, std::int64_t(6));
        QVERIFY(V4l2Frame().isEmpty());
    }

    void watcherStopsPromptly()
    {
        UdevWatcher watcher{SysfsReader()};
        watcher.stop(); // before start: nothing to do
        int reports = 0;
        watcher.start([&reports](int) { ++reports; });
        const auto before = std::chrono::steady_clock::now();
        watcher.stop();
        QVERIFY(std::chrono::steady_clock::now() - before < std::chrono::seconds(1));
        watcher.stop();
        // Started again after a stop, and stopped by its destructor.
        watcher.start([&reports](int) { ++reports; });
    }
};

QTEST_APPLESS_MAIN(TestV4l2Logic)
#include "test_v4l2logic.moc"
