#include "windowprobe.h"

#include <QBuffer>

namespace {

using Stamp = ImageAcquisition::IFrame::TimeStamp;

Fake::DeviceSpec camera(const std::string& fourcc, unsigned w, unsigned h, int bytesPerLine)
{
    Fake::DeviceSpec spec;
    spec.name = "cam";
    spec.formats[0].fourcc = fourcc;
    spec.formats[0].description = fourcc;
    spec.formats[0].resolutions[0].width = w;
    spec.formats[0].resolutions[0].height = h;
    spec.formats[0].resolutions[0].bytesPerLine = bytesPerLine;
    return spec;
}

Fake::Frame frame(std::vector<unsigned char> data, unsigned long long number = 1, Stamp stamp = {0, 0})
{
    return Fake::Frame(std::move(data), number, stamp);
}

// A 2 x 2 picture in three bytes a pixel, rows padded to bytesPerLine.
std::vector<unsigned char> twoByTwo(const unsigned char (&pixels)[4][3], int bytesPerLine)
{
    std::vector<unsigned char> data(size_t(bytesPerLine) * 2, 0xEE);
    for (int i = 0; i < 4; ++i)
        std::copy(pixels[i], pixels[i] + 3, data.begin() + (i / 2) * bytesPerLine + (i % 2) * 3);
    return data;
}

QByteArray jpeg(int w, int h)
{
    QImage picture(w, h, QImage::Format_RGB888);
    picture.fill(QColor(200, 30, 30));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, "JPG");
    return bytes;
}

class Streaming
{
public:
    explicit Streaming(const Fake::DeviceSpec& spec)
    {
        Fake::Layer::instance().devices = {spec};
        window = std::make_unique<MainWindow>();
        // The picture may point into the frame's buffer, which goes back to
        // the camera at the end of the tick: keep copies, as any receiver must.
        QObject::connect(window.get(), &MainWindow::newImage,
                         [this](const QImage& image) { newImages.push_back(image.copy()); });
        Probe::action(*window, "actionStart")->trigger();
        // The tests pull frames themselves, one tick at a time.
        Probe::refreshTimer(*window)->stop();
    }
    Fake::Camera& camera() { return *Fake::Layer::instance().camera(); }
    QImage lastImage() { return newImages.isEmpty() ? QImage() : newImages.last(); }
    void show(Fake::Frame f)
    {
        camera().pushFrame(std::move(f));
        Probe::tick(*window);
    }

    std::unique_ptr<MainWindow> window;
    QList<QImage> newImages;
};

} // namespace

class TestFramePump : public QObject
{
    Q_OBJECT

private slots:
    void init() { Fake::Layer::instance().reset(); }

    void colourOrder_data()
    {
        QTest::addColumn<QString>("fourcc");
        QTest::addColumn<QColor>("firstPixel");
        // Bytes of the first pixel: 10, 20, 30.
        QTest::newRow("RGB3 reads red first") << "RGB3" << QColor(10, 20, 30);
        QTest::newRow("BGR3 reads blue first") << "BGR3" << QColor(30, 20, 10);
    }

    void colourOrder()
    {
        QFETCH(QString, fourcc);
        QFETCH(QColor, firstPixel);
        const int stride = 8; // padded rows
        Streaming s(camera(fourcc.toStdString(), 2, 2, stride));
        const unsigned char pixels[4][3] = {{10, 20, 30}, {255, 0, 0}, {0, 255, 0}, {0, 0, 255}};
        auto data = twoByTwo(pixels, stride);
        const auto original = data;
        s.show(frame(data));
        const QImage image = s.lastImage();
        QCOMPARE(image.size(), QSize(2, 2));
        QCOMPARE(image.pixelColor(0, 0), firstPixel);
        QCOMPARE(image.pixelColor(1, 1), fourcc == "RGB3" ? QColor(0, 0, 255) : QColor(255, 0, 0));
        // The frame's own bytes are never modified.
        QCOMPARE(data, original);
    }

    void bayerMosaicShowsAsGrey()
    {
        Streaming s(camera("GRBG", 4, 2, 4));
        s.show(frame({1, 2, 3, 4, 50, 60, 70, 80}));
        const QImage image = s.lastImage();
        QCOMPARE(image.format(), QImage::Format_Grayscale8);
        QCOMPARE(qGray(image.pixel(1, 0)), 2);
        QCOMPARE(qGray(image.pixel(3, 1)), 80);
    }

    void jpegIsDecoded()
    {
        Streaming s(camera("MJPG", 320, 240, 0));
        const QByteArray bytes = jpeg(320, 240);
        s.show(frame(std::vector<unsigned char>(bytes.begin(), bytes.end()), 7));
        const QImage image = s.lastImage();
        QCOMPARE(image.size(), QSize(320, 240));
        QVERIFY(qAbs(image.pixelColor(160, 120).red() - 200) < 8);
    }

    void corruptJpegGivesANullPictureAndStillCounts()
    {
        Streaming s(camera("MJPG", 320, 240, 0));
        QByteArray bytes = jpeg(320, 240);
        bytes.truncate(bytes.size() / 3);
        s.show(frame(std::vector<unsigned char>(bytes.begin(), bytes.end()), 3));
        s.show(frame({0xFF, 0xD8, 0x00, 0x42, 0x13}, 4));
        s.show(frame({'n', 'o', 'p', 'e'}, 5));
        QCOMPARE(s.newImages.count(), 3);
        QVERIFY(s.lastImage().isNull());
        QVERIFY(Probe::status(*s.window).startsWith("2:5 Fps: "));
        // Every frame went back once, whatever became of its picture.
        QCOMPARE(Fake::count("releaseFrame"), 3);
        QCOMPARE(s.camera().handedOut.size(), size_t(0));
        QCOMPARE(s.camera().foreignReleases, 0);
    }

    void unknownCodeShowsBlackOfTheRunningSize()
    {
        Streaming s(camera("YUYV", 100, 60, 200));
        s.show(frame(std::vector<unsigned char>(200 * 60, 0x80), 9));
        const QImage image = s.lastImage();
        QCOMPARE(image.size(), QSize(100, 60));
        QCOMPARE(image.pixelColor(50, 30), QColor(Qt::black));
        QVERIFY(Probe::status(*s.window).startsWith("0:9 Fps: "));
    }

    void emptyFrameChangesNothingButGoesBack()
    {
        Streaming s(camera("RGB3", 2, 2, 6));
        s.show(frame(std::vector<unsigned char>(12, 0), 1, {5, 0}));
        const QString readout = Probe::status(*s.window);
        Fake::clearCalls();
        Probe::tick(*s.window); // nothing queued: an empty frame
        QCOMPARE(Fake::calls(), std::vector<std::string>({"getFrame", "releaseFrame"}));
        QCOMPARE(Probe::status(*s.window), readout);
        QCOMPARE(s.newImages.count(), 1);
        s.show(frame(std::vector<unsigned char>(12, 0), 2, {5, 0}));
        QVERIFY(Probe::status(*s.window).startsWith("1:2 "));
    }

    void readoutAndRateArithmetic()
    {
        Streaming s(camera("RGB3", 2, 2, 6));
        const std::vector<unsigned char> black(12, 0);
        // Right after start-up the window holds 90 zero stamps: the first
        // frame sees no time span at all.
        s.show(frame(black, 160, {100, 0}));
        QCOMPARE(Probe::status(*s.window), QString("0:160 Fps: 0.000"));
        // Ninety frames spread from second 100 to second 103.
        for (int i = 1; i < 90; ++i)
            s.show(frame(black, 160 + i, {100 + (i * 3) / 89, 0}));

        // A restart zeroes the rate and the count; the window carries over.
        Probe::action(*s.window, "actionStart")->trigger();
        Probe::action(*s.window, "actionStart")->trigger();
        Probe::refreshTimer(*s.window)->stop();
        s.show(frame(black, 500, {104, 0}));
        QCOMPARE(Probe::status(*s.window), QString("0:500 Fps: 12.000"));
        // Window now 100 (second entry) .. 104: 90 / 4 = 22.5; 0.4 * 22.5 + 0.6 * 12 = 16.2.
        s.show(frame(black, 501, {104, 0}));
        QCOMPARE(Probe::status(*s.window), QString("1:501 Fps: 16.200"));
    }

    void clockGoingBackDecaysTheRate()
    {
        Streaming s(camera("RGB3", 2, 2, 6));
        const std::vector<unsigned char> black(12, 0);
        for (int i = 0; i < 200; ++i)
            s.show(frame(black, i, {1000 + i / 30, 0}));
        const double before = Probe::status(*s.window).section("Fps: ", 1).toDouble();
        QVERIFY(before > 20);
        // Stamps that run backwards give a span of zero or less.
        for (int i = 0; i < 90; ++i)
            s.show(frame(black, 200 + i, {10, 0}));
        s.show(frame(black, 999, {10, 0}));
        const double after = Probe::status(*s.window).section("Fps: ", 1).toDouble();
        QVERIFY(after < before * 0.6);
    }

    void scaledIntoTheLabelFullSizeToListeners_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QSize>("shown");
        QTest::newRow("1280x720") << QSize(1280, 720) << QSize(640, 360);
        QTest::newRow("320x240 is enlarged") << QSize(320, 240) << QSize(640, 480);
        QTest::newRow("640x480 unchanged") << QSize(640, 480) << QSize(640, 480);
        QTest::newRow("tall") << QSize(240, 480) << QSize(240, 480);
    }

    void scaledIntoTheLabelFullSizeToListeners()
    {
        QFETCH(QSize, size);
        QFETCH(QSize, shown);
        const int stride = size.width() * 3;
        Streaming s(camera("RGB3", unsigned(size.width()), unsigned(size.height()), stride));
        s.show(frame(std::vector<unsigned char>(size_t(stride) * size_t(size.height()), 0x40)));
        QCOMPARE(Probe::imageLabel(*s.window)->pixmap(Qt::ReturnByValue).size(), shown);
        QCOMPARE(s.lastImage().size(), size);
    }

    void labelKeepsTheLastPictureAfterStop()
    {
        Streaming s(camera("RGB3", 2, 2, 6));
        s.show(frame(std::vector<unsigned char>(12, 0xFF), 3));
        const QString readout = Probe::status(*s.window);
        Probe::action(*s.window, "actionStart")->trigger();
        QVERIFY(!Probe::imageLabel(*s.window)->pixmap(Qt::ReturnByValue).isNull());
        QCOMPARE(Probe::status(*s.window), readout);
    }
};

QTEST_MAIN(TestFramePump)
#include "test_framepump.moc"
