#include "windowprobe.h"

#include <QBuffer>

#include <algorithm>
#include <atomic>

#if defined(__SANITIZE_ADDRESS__)
// The sanitizer runtime's allocation hooks; GCC ships no header for them.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*onAllocation)(const volatile void*, size_t),
                                                         void (*onRelease)(const volatile void*));
#define TRACKS_ALLOCATIONS 1
#endif

namespace {

using Bytes = std::vector<unsigned char>;
using Fake::Frame;

const unsigned char kSof0[] = {0xFF, 0xC0};

// The largest single allocation since the last reset, where the sanitizer
// lets us see allocations at all.
std::atomic<size_t> largestAllocation{0};

#ifdef TRACKS_ALLOCATIONS
void noteAllocation(const volatile void*, size_t size)
{
    size_t seen = largestAllocation.load();
    while (size > seen && !largestAllocation.compare_exchange_weak(seen, size)) {
    }
}
void noteRelease(const volatile void*) {}
#endif

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

    void shortRawFramesShowBlackOfTheRunningSize()
    {
        for (const char* fourcc : {"RGB3", "BGR3", "GRBG"}) {
            const int depth = fourcc == std::string("GRBG") ? 1 : 3;
            const int w = 64, h = 48, line = w * depth;
            Probe::Session s(camera(fourcc, w, h, line));
            // Each in a buffer of its own exact size, so that AddressSanitizer
            // catches a read past its end.
            unsigned long long number = 10;
            for (const size_t size : {size_t(line * h - 1), size_t(line * (h - 1)), size_t(line), size_t(0)}) {
                Frame frame(Bytes(size, 0xFF), ++number);
                frame.empty = false;
                s.show(frame);
                QCOMPARE(s.images.last().size(), QSize(w, h));
                QCOMPARE(s.images.last().pixelColor(w - 1, h - 1), QColor(Qt::black));
            }
            // A whole frame after them is shown as ever; every frame counted and back.
            s.show(Frame(Bytes(size_t(line * h), 0xFF), 20));
            QCOMPARE(s.images.last().pixelColor(w - 1, h - 1), QColor(Qt::white));
            QVERIFY(Probe::status(*s.window).startsWith("4:20 Fps: "));
            QVERIFY(s.camera().handedOut.empty());
        }
    }

    void jpegDeclaringAHugePictureIsNotDecoded()
    {
        Probe::Session s(camera("MJPG", 320, 240, 0));
        Bytes bytes = jpeg(320, 240);
        // The height and width of the frame header (SOF0), big-endian.
        const auto sof = std::search(bytes.begin(), bytes.end(), std::begin(kSof0), std::end(kSof0));
        QVERIFY(sof != bytes.end());
#ifdef TRACKS_ALLOCATIONS
        __sanitizer_install_malloc_and_free_hooks(noteAllocation, noteRelease);
#endif
        for (const QSize& declared : {QSize(23170, 23170), QSize(65000, 65000), QSize(15361, 8), QSize(8000, 8000)}) {
            Bytes hostile = bytes;
            const auto at = size_t(sof - bytes.begin()) + 5;
            hostile[at] = uchar(declared.height() >> 8);
            hostile[at + 1] = uchar(declared.height());
            hostile[at + 2] = uchar(declared.width() >> 8);
            hostile[at + 3] = uchar(declared.width());
            largestAllocation = 0;
            s.show(Frame(hostile));
            QVERIFY(s.images.last().isNull());
            // Nothing near the size of the declared picture was asked for.
            QVERIFY2(largestAllocation < 16u << 20, QByteArray::number(qulonglong(largestAllocation.load())));
        }
        s.show(Frame(bytes));
        QCOMPARE(s.images.last().size(), QSize(320, 240));
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
