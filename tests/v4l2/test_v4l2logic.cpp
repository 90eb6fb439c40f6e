// The parts of the V4L2 backend that vivid cannot show: menu gaps, range
// expansion, the USB parent and its serial line found in sysfs, node order,
// the maker's family, mapping failures.

#include "kelvanecontrolmapping.h"
#include "menuitems.h"
#include "rangeexpansion.h"
#include "sysfsreader.h"
#include "usbbusreader.h"
#include "v4l2backend.h"
#include "v4l2controlkind.h"
#include "v4l2device.h"

#include <imageacquisition/kelvane.h>

#include <QTemporaryDir>
#include <QtTest>

#include <fcntl.h>
#include <unistd.h>

using namespace ImageAcquisition;

class TestV4l2Logic : public QObject
{
    Q_OBJECT

private slots:
    void menuEntries_data()
    {
        QTest::addColumn<QList<qlonglong>>("valid"); // the items the driver accepts
        QTest::addColumn<QList<qlonglong>>("items"); // the item of each entry
        QTest::addColumn<qlonglong>("invalid");
        QTest::newRow("gap, out of order, twice")
            << QList<qlonglong>{4, 1, 3, 3} << QList<qlonglong>{1, 3, 4} << 2LL;
        QTest::newRow("empty") << QList<qlonglong>{} << QList<qlonglong>{} << 0LL;
    }

    void menuEntries()
    {
        QFETCH(QList<qlonglong>, valid);
        QFETCH(QList<qlonglong>, items);
        QFETCH(qlonglong, invalid);
        const MenuItems menu(std::vector<long long>(valid.begin(), valid.end()));
        QCOMPARE(menu.count(), items.size());
        long long item = 0;
        for (int entry = 0; entry < items.size(); ++entry) {
            QVERIFY(menu.itemOf(entry, item));
            QCOMPARE(item, items[entry]);
            QCOMPARE(menu.entryOf(items[entry]), entry);
        }
        QCOMPARE(menu.entryOf(invalid), -1);
        QVERIFY(!menu.itemOf(-1, item) && !menu.itemOf(items.size(), item));
    }

    void rangeExpansion_data()
    {
        // Sizes: width's and height's minimum, maximum and step. Intervals:
        // minimum, maximum and step, each as numerator and denominator.
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QList<unsigned>>("range");
        QTest::addColumn<QString>("expected");
        QTest::newRow("continuous sizes up to 1280x720")
            << "sizes" << QList<unsigned>{1, 1280, 1, 1, 720, 1}
            << "160x120 176x144 320x180 320x240 352x288 424x240 640x360 640x480 800x448 "
               "800x600 848x480 960x540 1024x576 1280x720";
        QTest::newRow("sizes in steps of 64x48 from 320x240")
            << "sizes" << QList<unsigned>{320, 1920, 64, 240, 1080, 48}
            << "320x240 640x480 1024x576 1024x768 1280x720 1280x960";
        QTest::newRow("no common size inside: the largest")
            << "sizes" << QList<unsigned>{100, 150, 2, 100, 110, 2} << "150x110";
        QTest::newRow("continuous intervals 1/60 to 1/1")
            << "continuous" << QList<unsigned>{1, 60, 1, 1, 1, 1}
            << "1/60 1/50 1/30 1/25 1/24 1/20 1/15 1/10 1/5 1/2 1/1";
        QTest::newRow("intervals in steps of 1/30 from 1/30 to 1/10")
            << "stepwise" << QList<unsigned>{1, 30, 1, 10, 1, 30} << "1/30 1/15 1/10";
        QTest::newRow("no common rate inside: the shortest period")
            << "stepwise" << QList<unsigned>{7, 100, 8, 100, 1, 100} << "7/100";
        QTest::newRow("zero denominator: nothing")
            << "continuous" << QList<unsigned>{1, 0, 1, 1, 1, 1} << "";
    }

    void rangeExpansion()
    {
        QFETCH(QString, kind);
        QFETCH(QList<unsigned>, range);
        QFETCH(QString, expected);
        QStringList got;
        if (kind == "sizes") {
            for (auto size : RangeExpansion::sizes({range[0], range[1], range[2], range[3], range[4], range[5]}))
                got << QString("%1x%2").arg(size.width).arg(size.height);
        } else {
            const v4l2_frmival_stepwise stepwise{{range[0], range[1]}, {range[2], range[3]}, {range[4], range[5]}};
            for (auto interval : RangeExpansion::intervals(stepwise, kind == "continuous"))
                got << QString("%1/%2").arg(interval.numerator).arg(interval.denominator);
        }
        QCOMPARE(got.join(' '), expected);
    }

    void bcdVersion()
    {
        const char* cases[][2] = {{"0102", "1.02"}, {"1234", "12.34"}, {"12", "12"}, {"01a2", "01a2"}, {"", ""}};
        for (auto [bcd, text] : cases)
            QCOMPARE(SysfsReader::formatBcdVersion(bcd).c_str(), text);
    }

    void usbParent_data()
    {
        // video3 is below a USB device of that vendor; video0 is a platform node.
        QTest::addColumn<QByteArray>("vendor");
        QTest::addColumn<QString>("node");
        QTest::addColumn<QString>("expected");
        QTest::newRow("Kelvane's") << QByteArray("2F7A") << "video3" << "2F7A 0101 Kelvane SN 42 2.07 (Kelvane)";
        QTest::newRow("vendor id with junk") << QByteArray("2f7az") << "video3" << "2f7az 0101 Kelvane SN 42 2.07";
        QTest::newRow("platform device") << QByteArray("2f7a") << "video0" << "";
        QTest::newRow("no such node") << QByteArray("2f7a") << "video9" << "";
        QTest::newRow("path in the name") << QByteArray("2f7a") << "../video4linux/video3" << "";
    }

    void usbParent()
    {
        QFETCH(QByteArray, vendor);
        QFETCH(QString, node);
        QFETCH(QString, expected);
        QTemporaryDir root;
        const QString usb = root.path() + "/devices/pci0000:00/0000:00:14.0/usb1/1-2";
        const QStringList nodes = {usb + "/1-2:1.0/video4linux/video3",
                                   root.path() + "/devices/platform/vivid.0/video4linux/video0"};
        QVERIFY(QDir().mkpath(nodes[0]) && QDir().mkpath(nodes[1]) && QDir().mkpath(root.path() + "/class/video4linux"));
        for (const QString& path : nodes) {
            QVERIFY(QFile::link("../..", path + "/device"));
            QVERIFY(QFile::link(path, root.path() + "/class/video4linux/" + path.section('/', -1)));
        }
        for (auto [name, value] : {std::pair("idVendor", vendor), {"idProduct", "0101"},
                                   {"manufacturer", "Kelvane"}, {"serial", "SN 42"}, {"bcdDevice", "0207"}}) {
            QFile file(usb + "/" + name);
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(value + "\n") > 0);
        }
        const UsbInfo usbInfo = SysfsReader(root.path().toStdString()).usbInfo(node.toStdString());
        const bool kelvane = V4l2Device("/dev/x", v4l2_capability{}, usbInfo).isKelvaneDevice();
        const std::string got = usbInfo.vendorId + " " + usbInfo.productId + " " + usbInfo.manufacturer + " "
                                + usbInfo.serial + " " + usbInfo.firmwareVersion + (kelvane ? " (Kelvane)" : "");
        QCOMPARE(QString::fromStdString(got).trimmed(), expected);

        // The serial function's line hangs below another interface of the same device.
        QCOMPARE(SysfsReader::serialLine(usbInfo.sysfsPath), std::string());
        QVERIFY(QDir().mkpath(usb + "/1-2:1.4/tty/ttyACM3") && QDir().mkpath(usb + "/1-2:1.5"));
        QCOMPARE(SysfsReader::serialLine(usbInfo.sysfsPath), std::string(expected.isEmpty() ? "" : "/dev/ttyACM3"));
    }

    void streamsOnTheSameBusFromTheirAlternateSettings()
    {
        // 1024 bytes and two more transactions every microframe: 24.6 MB/s.
        QCOMPARE(UsbBusReader::isochronousRate("1400", 1, 480), 3LL * 1024 * 8000);
        QCOMPARE(UsbBusReader::isochronousRate("0200", 4, 480), 512LL * 1000);
        QCOMPARE(UsbBusReader::isochronousRate("03ff", 1, 12), 1023LL * 1000);
        QCOMPARE(UsbBusReader::periodicCapacity(480), 48000000LL);

        QTemporaryDir root;
        const QString devices = root.path() + "/devices/pci0000:00/0000:00:14.0";
        const auto write = [](const QString& folder, const char* name, const QByteArray& value) {
            QDir().mkpath(folder);
            QFile file(folder + "/" + name);
            return file.open(QIODevice::WriteOnly) && file.write(value + "\n") > 0;
        };
        const QString bus = root.path() + "/bus/usb/devices";
        QVERIFY(QDir().mkpath(bus));
        // Ours (1-1), a camera that streams (1-2), one that does not (1-3), one on another bus (2-1).
        for (const auto& [name, busNumber] : {std::pair("1-1", "1"), {"1-2", "1"}, {"1-3", "1"}, {"2-1", "2"}}) {
            const QString device = devices + "/usb" + busNumber + "/" + name;
            QVERIFY(write(device, "busnum", busNumber) && write(device, "serial", QByteArray("SN-") + name));
            QVERIFY(QFile::link(device, bus + "/" + name));
            const QString streaming = device + "/" + name + ":1.1";
            QVERIFY(write(streaming, "bInterfaceClass", "0e") && write(streaming, "bInterfaceSubClass", "02"));
            QVERIFY(write(streaming, "bAlternateSetting", QByteArray(name) == "1-3" ? " 0" : " 6"));
            QVERIFY(write(streaming + "/ep_81", "type", "Isoc") && write(streaming + "/ep_81", "wMaxPacketSize", "1400")
                    && write(streaming + "/ep_81", "bInterval", "01"));
            QVERIFY(write(device + "/" + name + ":1.0/video4linux/video" + QString(name).right(1), "name", QByteArray("Cam ") + name));
        }
        QVERIFY(write(devices + "/usb1", "speed", "480") && QFile::link(devices + "/usb1", bus + "/usb1"));

        const UsbBandwidth::Bus seen = UsbBusReader(root.path().toStdString()).busOf((devices + "/usb1/1-1").toStdString());
        QCOMPARE(QString::fromStdString(seen.name), QString("USB bus 1 (high speed, 480 Mbit/s)"));
        QCOMPARE(seen.capacity, 48000000LL);
        QCOMPARE(int(seen.streams.size()), 1);
        QCOMPARE(QString::fromStdString(seen.streams[0].serial), QString("SN-1-2"));
        QCOMPARE(QString::fromStdString(seen.streams[0].name), QString("Cam 1-2"));
        QCOMPARE(QString::fromStdString(seen.streams[0].node), QString("/dev/video2"));
        QCOMPARE(seen.streams[0].bytesPerSecond, 3LL * 1024 * 8000);
    }

    void extensionUnitMappingFailuresNameEachControl()
    {
        // /dev/null knows no UVC request: every control is reported, none is fatal.
        const int fd = ::open("/dev/null", O_RDWR | O_CLOEXEC);
        QVERIFY(fd >= 0);
        const QString failures = QString::fromStdString(KelvaneControlMapping::mapAll(fd));
        ::close(fd);
        for (const auto& control : KelvaneExtensionUnit::kControls)
            QVERIFY2(failures.contains(QString("\"%1\": ").arg(control.name)), qPrintable(failures));
    }

    void videoNodesInNumberOrder()
    {
        QTemporaryDir dev;
        for (const char* name : {"video10", "video2", "video0", "videoX", "vbi0", "video3a"})
            QVERIFY(QFile(dev.path() + "/" + name).open(QIODevice::WriteOnly));
        QStringList names;
        for (const auto& path : V4l2Backend::videoNodes(dev.path().toStdString()))
            names << QString::fromStdString(path).section('/', -1);
        QCOMPARE(names, QStringList({"video0", "video2", "video10"}));
    }

    void driverPrivateControlsFormTheMakersFamily()
    {
        for (std::uint32_t id : {V4L2_CID_USER_BASE + 0x1001, V4L2_CID_CAMERA_CLASS_BASE + 0x1000,
                                 V4L2_CID_PRIVATE_BASE + 3}) {
            QCOMPARE(V4l2ControlKind::family(id, true), ICameraControl::FamilyKelvane);
            QVERIFY(V4l2ControlKind::family(id, false) != ICameraControl::FamilyKelvane);
        }
        QCOMPARE(V4l2ControlKind::family(V4L2_CID_GAIN, true), ICameraControl::FamilyUser);
    }
};

QTEST_APPLESS_MAIN(TestV4l2Logic)
#include "test_v4l2logic.moc"
