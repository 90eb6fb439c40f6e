#include "windowprobe.h"

#include <QBuffer>

namespace {

using Bytes = std::vector<unsigned char>;
using Fake::Frame;

Fake::DeviceSpec camera(const std::string& fourcc, unsigned w, unsigned h, int bytesPerLine)
{
    auto spec = Probe::camera(fourcc, w, h);
    spec.formats[0].resolutions[0].bytesPerLine = bytesPerLine;
    return spec;
}

Bytes jpeg(int w, int h)
{
    QImage picture(w, h, QImage::Format_RGB888);
    picture.fill(QColor(200, 30, 30));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, "JPG");
    return Bytes(bytes.begin(), bytes.end());
}

double fps(QWidget& window)
{
    return Probe::status(window).section("Fps: ", 1).toDouble();
}

} // namespace

class TestFramePump : public QObject
{
    Q_OBJECT

private slots:
    void init() { Fake::Layer::instance().reset(); }

    void colourOrderWithPaddedRows()
    {
        for (const char* fourcc : {"RGB3", "BGR3"}) {
            Probe::Session s(camera(fourcc, 2, 2, 8));
            // Pixels 10-20-30, red, green, blue; each row padded with two bytes.
            s.show(Frame({10, 20, 30, 255, 0, 0, 0xEE, 0xEE, 0, 255, 0, 0, 0, 255, 0xEE, 0xEE}));
            const QImage image = s.images.last();
            const bool rgb = fourcc == std::string("RGB3");
            QCOMPARE(image.size(), QSize(2, 2));
            QCOMPARE(image.pixelColor(0, 0), rgb ? QColor(10, 20, 30) : QColor(30, 20, 10));
            QCOMPARE(image.pixelColor(1, 1), rgb ? QColor(0, 0, 255) : QColor(255, 0, 0));
        }
    }

    void bayerMosaicShowsAsGrey()
    {
        Probe::Session s(camera("GRBG", 4, 2, 4));
        s.show(Frame({1, 2, 3, 4, 50, 60, 70, 80}));
        const QImage image = s.images.last();
        QCOMPARE(image.format(), QImage::Format_Grayscale8);
        QCOMPARE(qGray(image.pixel(1, 0)), 2);
        QCOMPARE(qGray(image.pixel(3, 1)), 80);
    }

    void jpegDecodedCorruptOnesGiveANullPicture()
    {
        Probe::Session s(camera("MJPG", 320, 240, 0));
        Bytes bytes = jpeg(320, 240);
        s.show(Frame(bytes, 2));
        QCOMPARE(s.images.last().size(), QSize(320, 240));
        QVERIFY(qAbs(s.images.last().pixelColor(160, 120).red() - 200) < 8);
        bytes.resize(bytes.size() / 3);
        s.show(Frame(bytes, 3));
        s.show(Frame({0xFF, 0xD8, 0x00, 0x42, 0x13}, 4));
        s.show(Frame({'n', 'o', 'p', 'e'}, 5));
        QCOMPARE(s.images.count(), 4);
        QVERIFY(s.images.last().isNull());
        QVERIFY(Probe::status(*s.window).startsWith("3:5 Fps: "));
        // Every frame went back once, whatever became of its picture.
        QCOMPARE(Fake::count("releaseFrame"), 4);
        QVERIFY(s.camera().handedOut.empty());
        QCOMPARE(s.camera().foreignReleases, 0);
    }

    void unknownCodeShowsBlackOfTheRunningSize()
    {
        Probe::Session s(camera("YUYV", 100, 60, 200));
        s.show(Frame(Bytes(200 * 60, 0x80), 9));
        QCOMPARE(s.images.last().size(), QSize(100, 60));
        QCOMPARE(s.images.last().pixelColor(50, 30), QColor(Qt::black));
        QVERIFY(Probe::status(*s.window).startsWith("0:9 Fps: "));
    }

    void emptyFrameChangesNothingButGoesBack()
    {
        Probe::Session s(camera("RGB3", 2, 2, 6));
        s.show(Frame(Bytes(12, 0xFF), 1, {5, 0}));
        const QString readout = Probe::status(*s.window);
        Fake::clearCalls();
        Probe::tick(*s.window); // nothing queued: an empty frame
        QCOMPARE(Fake::calls(), std::vector<std::string>({"getFrame", "releaseFrame"}));
        QCOMPARE(Probe::status(*s.window), readout);
        QCOMPARE(s.images.count(), 1);
        // Stopping keeps the last picture and readout on screen.
        Probe::trigger(*s.window, "actionStart");
        QVERIFY(!s.window->findChild<QLabel*>("imageLabel")->pixmap(Qt::ReturnByValue).isNull());
        QCOMPARE(Probe::status(*s.window), readout);
    }

    void readoutAndRate()
    {
        Probe::Session s(camera("RGB3", 2, 2, 6));
        const Bytes black(12, 0);
        // Right after start-up the window holds 90 zero stamps: the first
        // frame sees no time span at all.
        s.show(Frame(black, 160, {100, 0}));
        QCOMPARE(Probe::status(*s.window), QString("0:160 Fps: 0.000"));
        // Ninety frames spread from second 100 to second 103.
        for (int i = 1; i < 90; ++i)
            s.show(Frame(black, 160 + i, {100 + (i * 3) / 89, 0}));
        // A restart zeroes the rate and the count; the window carries over.
        Probe::trigger(*s.window, "actionStart");
        Probe::trigger(*s.window, "actionStart");
        Probe::refreshTimer(*s.window)->stop();
        s.show(Frame(black, 500, {104, 0}));
        QCOMPARE(Probe::status(*s.window), QString("0:500 Fps: 12.000"));
        // Window now 100 (second entry) .. 104: 90 / 4 = 22.5; 0.4 * 22.5 + 0.6 * 12 = 16.2.
        s.show(Frame(black, 501, {104, 0}));
        QCOMPARE(Probe::status(*s.window), QString("1:501 Fps: 16.200"));
        // Stamps that run backwards give a span of zero or less: the rate decays.
        for (int i = 0; i < 200; ++i)
            s.show(Frame(black, 600 + i, {1000 + i / 30, 0}));
        const double before = fps(*s.window);
        for (int i = 0; i < 91; ++i)
            s.show(Frame(black, 800 + i, {10, 0}));
        QVERIFY(before > 20 && fps(*s.window) < before * 0.6);
    }

    void scaledIntoTheLabelFullSizeToListeners()
    {
        // {size, shown}: shrunk, enlarged, limited by the height.
        for (const auto& row : QVector<QPair<QSize, QSize>>{{{1280, 720}, {640, 360}}, {{320, 240}, {640, 480}},
                                                            {{240, 480}, {240, 480}}}) {
            const int w = row.first.width(), h = row.first.height();
            Probe::Session s(camera("RGB3", unsigned(w), unsigned(h), w * 3));
            s.show(Frame(Bytes(size_t(w * 3 * h), 0x40)));
            QCOMPARE(s.window->findChild<QLabel*>("imageLabel")->pixmap(Qt::ReturnByValue).size(), row.second);
            QCOMPARE(s.images.last().size(), row.first);
        }
    }
};

QTEST_MAIN(TestFramePump)
#include "test_framepump.moc"
