// The parts of the V4L2 backend that need no device: menu gaps, range
// expansion, version texts and the USB parent found in sysfs.

#include "menuitems.h"
#include "rangeexpansion.h"
#include "sysfsreader.h"
#include "v4l2device.h"

#include <QtTest>

#include <QTemporaryDir>

using namespace ImageAcquisition;

class TestV4l2Logic : public QObject
{
    Q_OBJECT

private slots:
    void menuEntries_data()
    {
        QTest::addColumn<QList<qlonglong>>("valid"); // as the driver answers them
        QTest::addColumn<QList<qlonglong>>("items"); // the item of each entry
        QTest::addColumn<qlonglong>("invalid");
        QTest::newRow("gap, out of order, twice")
            << QList<qlonglong>{4, 1, 3, 3} << QList<qlonglong>{1, 3, 4} << 2LL;
        QTest::newRow("no gap") << QList<qlonglong>{0, 1, 2} << QList<qlonglong>{0, 1, 2} << 3LL;
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
        // Sizes: min, max and step of width, then of height. Intervals:
        // min, max and step, each numerator and denominator.
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
            for (auto size : RangeExpansion::sizes(
                     {range[0], range[1], range[2], range[3], range[4], range[5]}))
                got << QString("%1x%2").arg(size.width).arg(size.height);
        } else {
            const v4l2_frmival_stepwise stepwise{
                {range[0], range[1]}, {range[2], range[3]}, {range[4], range[5]}};
            for (auto interval : RangeExpansion::intervals(stepwise, kind == "continuous"))
                got << QString("%1/%2").arg(interval.numerator).arg(interval.denominator);
        }
        QCOMPARE(got.join(' '), expected);
    }

    void bcdVersion_data()
    {
        QTest::addColumn<QString>("bcd");
        QTest::addColumn<QString>("text");
        for (auto row : {std::pair("0102", "1.02"),
                         {"1234", "12.34"},
                         {"0000", "0.00"},
                         {"12", "12"},
                         {"01a2", "01a2"},
                         {"", ""}})
            QTest::newRow(row.first) << row.first << row.second;
    }

    void bcdVersion()
    {
        QFETCH(QString, bcd);
        QFETCH(QString, text);
        QCOMPARE(QString::fromStdString(SysfsReader::formatBcdVersion(bcd.toStdString())), text);
    }

    void usbParent_data()
    {
        QTest::addColumn<QByteArray>("vendor"); // of the USB device above video3
        QTest::addColumn<QString>("node");
        QTest::addColumn<QString>("expected"); // vendor, product, maker, serial, version
        QTest::addColumn<bool>("kelvane");
        QTest::newRow("Kelvane") << QByteArray("2F7A") << "video3"
                                 << "2F7A 0101 Kelvane SN 42 2.07" << true;
        QTest::newRow("other maker") << QByteArray("046d") << "video3"
                                     << "046d 0101 Kelvane SN 42 2.07" << false;
        QTest::newRow("not a number") << QByteArray("2f7az") << "video3"
                                      << "2f7az 0101 Kelvane SN 42 2.07" << false;
        QTest::newRow("platform device") << QByteArray("2f7a") << "video0"
                                         << "" << false;
        QTest::newRow("no such node") << QByteArray("2f7a") << "video9"
                                      << "" << false;
        QTest::newRow("path in the name") << QByteArray("2f7a") << "../video3"
                                          << "" << false;
    }

    void usbParent()
    {
        QFETCH(QByteArray, vendor);
        QFETCH(QString, node);
        QFETCH(QString, expected);
        QFETCH(bool, kelvane);
        // A USB camera's node and a platform device's (like vivid's), linked
        // as sysfs links them.
        QTemporaryDir root;
        const QString usb = root.path() + "/devices/pci0000:00/0000:00:14.0/usb1/1-2";
        const QString platform = root.path() + "/devices/platform/vivid.0";
        const QList<QPair<QString, QByteArray>> files = {
            {usb + "/idVendor", vendor + "\n"},
            {usb + "/idProduct", "0101\n"},
            {usb + "/manufacturer", "Kelvane\n"},
            {usb + "/serial", "SN 42\n"},
            {usb + "/bcdDevice", "0207\n"},
            {usb + "/1-2:1.0/video4linux/video3/name", ""},
            {platform + "/video4linux/video0/name", ""}};
        for (const auto& file : files) {
            QVERIFY(QDir().mkpath(QFileInfo(file.first).path()));
            QFile out(file.first);
            QVERIFY(out.open(QIODevice::WriteOnly) && out.write(file.second) == file.second.size());
        }
        QVERIFY(QDir().mkpath(root.path() + "/class/video4linux"));
        for (const QString& parent :
             {usb + "/1-2:1.0/video4linux/video3", platform + "/video4linux/video0"}) {
            QVERIFY(QFile::link("../..", parent + "/device"));
            QVERIFY(QFile::link(parent, root.path() + "/class/video4linux/"
                                            + QFileInfo(parent).fileName()));
        }
        const UsbInfo info = SysfsReader(root.path().toStdString()).usbInfo(node.toStdString());
        const QString got =
            QString::fromStdString(info.vendorId + " " + info.productId + " " + info.manufacturer
                                   + " " + info.serial + " " + info.firmwareVersion);
        QCOMPARE(got.trimmed(), expected);
        QCOMPARE(
            V4l2Device("/dev/" + node.toStdString(), v4l2_capability{}, info).isKelvaneDevice(),
            kelvane);
    }
};

QTEST_APPLESS_MAIN(TestV4l2Logic)
#include "test_v4l2logic.moc"
