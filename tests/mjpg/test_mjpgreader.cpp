#include "jpegframes.h"
#include "jpegstripdecoder.h"
#include "jpegstrips.h"
#include "paralleljpegdecoder.h"
#include "windowprobe.h"

#include <QBuffer>
#include <QImageReader>
#include <QRandomGenerator>

namespace {

QImage ours(const QByteArray& jpeg)
{
    return QImage::fromData(jpeg, "MJPG");
}

QImage qts(const QByteArray& jpeg)
{
    return QImage::fromData(jpeg, "JPEG");
}

// The largest difference of any byte of the two pictures' pixels.
int largestDifference(const QImage& a, const QImage& b)
{
    int largest = 0;
    const int bytes = a.width() * a.depth() / 8;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < bytes; ++x)
            largest = qMax(largest, qAbs(int(a.constScanLine(y)[x]) - int(b.constScanLine(y)[x])));
    }
    return largest;
}

QByteArray solid(const QColor& colour, int width = 64, int height = 48)
{
    QImage picture(width, height, QImage::Format_RGB888);
    picture.fill(colour);
    return JpegFrames::encode(picture, TJSAMP_420);
}

bool near(const QColor& a, const QColor& b)
{
    return qAbs(a.red() - b.red()) < 8 && qAbs(a.green() - b.green()) < 8 && qAbs(a.blue() - b.blue()) < 8;
}

// The frame with the size in its start-of-frame marker replaced.
QByteArray claiming(QByteArray jpeg, int width, int height)
{
    const int sof = jpeg.indexOf(QByteArray("\xFF\xC0", 2));
    jpeg[sof + 5] = char(height >> 8);
    jpeg[sof + 6] = char(height & 0xFF);
    jpeg[sof + 7] = char(width >> 8);
    jpeg[sof + 8] = char(width & 0xFF);
    return jpeg;
}

QSize headerSize(const QByteArray& jpeg)
{
    QBuffer buffer;
    buffer.setData(jpeg);
    buffer.open(QIODevice::ReadOnly);
    return QImageReader(&buffer, "MJPG").size();
}

// The frame decoded whole, in one call of TurboJPEG.
QImage whole(const QByteArray& jpeg, bool grey)
{
    const std::unique_ptr<void, int (*)(tjhandle)> decompressor(tjInitDecompress(), tjDestroy);
    int width = 0, height = 0, subsampling = 0, colours = 0;
    const auto* bytes = reinterpret_cast<const uchar*>(jpeg.constData());
    tjDecompressHeader3(decompressor.get(), bytes, jpeg.size(), &width, &height, &subsampling, &colours);
    QImage picture(width, height, grey ? QImage::Format_Grayscale8 : QImage::Format_RGB32);
    tjDecompress2(decompressor.get(), bytes, jpeg.size(), picture.bits(), width, int(picture.bytesPerLine()), height,
                  grey ? TJPF_GRAY : TJPF_BGRX, 0);
    return picture;
}

// The frame decoded strip after strip; null when it could not be cut.
QImage inStrips(const QByteArray& jpeg, QSize size, bool grey, int count, int minRows)
{
    const auto strips = JpegStrips::cut(reinterpret_cast<const uchar*>(jpeg.constData()), jpeg.size(), count, minRows);
    if (strips.isEmpty())
        return QImage();
    QImage picture(size, grey ? QImage::Format_Grayscale8 : QImage::Format_RGB32);
    picture.fill(0);
    for (const JpegStrips::Strip& strip : strips) {
        if (!JpegStripDecoder::decode(strip, picture.bits(), picture.bytesPerLine(), size.width(), picture.format()))
            return QImage();
    }
    return picture;
}

} // namespace

class TestMjpgReader : public QObject
{
    Q_OBJECT

private slots:
    void init() { Fake::Layer::instance().reset(); }

    void sameAsQtsReaderForEverySubsampling()
    {
        const struct
        {
            const char* name;
            int subsampling;
            int flags;
        } kinds[] = {{"4:2:0", TJSAMP_420, 0}, {"4:2:2", TJSAMP_422, 0}, {"4:4:4", TJSAMP_444, 0},
                     {"grey", TJSAMP_GRAY, 0}, {"progressive 4:2:0", TJSAMP_420, TJFLAG_PROGRESSIVE}};
        for (const auto& kind : kinds) {
            for (const QSize size : {QSize(64, 48), QSize(37, 19)}) {
                const QByteArray jpeg = JpegFrames::encode(JpegFrames::pattern(size.width(), size.height()),
                                                           kind.subsampling, kind.flags);
                const QImage mine = ours(jpeg), theirs = qts(jpeg);
                const QByteArray what = QByteArray(kind.name) + " " + QByteArray::number(size.width());
                QVERIFY2(!mine.isNull(), what);
                QCOMPARE(mine.size(), size);
                QCOMPARE(mine.format(), theirs.format());
                // Same library, same defaults: at most rounding apart.
                QVERIFY2(largestDifference(mine, theirs) <= 2, what);
                QCOMPARE(headerSize(jpeg), size);
            }
        }
        // libjpeg-turbo makes no RGB of CMYK; Qt's reader does, for us too.
        const QByteArray cmyk = JpegFrames::cmykFrame(40, 24);
        QVERIFY(!cmyk.isEmpty() && !ours(cmyk).isNull());
        QCOMPARE(ours(cmyk), qts(cmyk));
        QCOMPARE(headerSize(cmyk), QSize(40, 24));
    }

    void framesCutAtRestartMarkersDecodeExactlyAsWholeOnes_data()
    {
        QTest::addColumn<int>("hv");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<int>("restartMcus");
        QTest::addColumn<int>("strips");
        // Restarts on every row, inside rows, across two rows and at a count
        // that meets a row start only every few rows; heights cut short of
        // an MCU. Each is tall enough to hold a row where a strip's markers
        // count from 0.
        QTest::newRow("4:2:0, a row") << 0x22 << QSize(320, 250) << 20 << 2;
        QTest::newRow("4:2:0, 4 MCUs, 3 strips") << 0x22 << QSize(320, 250) << 4 << 3;
        QTest::newRow("4:2:0, two rows") << 0x22 << QSize(320, 600) << 40 << 2;
        QTest::newRow("4:2:0, 7 MCUs") << 0x22 << QSize(320, 250) << 7 << 2;
        QTest::newRow("4:2:2, short last interval") << 0x21 << QSize(200, 395) << 5 << 2;
        QTest::newRow("4:4:4") << 0x11 << QSize(200, 123) << 25 << 4;
        QTest::newRow("grey") << 0 << QSize(200, 123) << 25 << 2;
    }

    void framesCutAtRestartMarkersDecodeExactlyAsWholeOnes()
    {
        QFETCH(int, hv);
        QFETCH(QSize, size);
        QFETCH(int, restartMcus);
        QFETCH(int, strips);
        const QByteArray jpeg = JpegFrames::withRestarts(JpegFrames::pattern(size.width(), size.height()), hv,
                                                         restartMcus);
        const QImage expected = whole(jpeg, hv == 0);
        QVERIFY(!expected.isNull());
        const QImage cut = inStrips(jpeg, size, hv == 0, strips, 16);
        QVERIFY(!cut.isNull());
        QCOMPARE(cut, expected);
    }

    void framesThatCannotBeCutAreReadWhole()
    {
        const QImage picture = JpegFrames::pattern(2048, 1280);
        const QByteArray restarts = JpegFrames::withRestarts(picture, 0x21, 128);
        // Too small, no restart markers, progressive, a lost marker, cut short.
        QVERIFY(inStrips(JpegFrames::withRestarts(JpegFrames::pattern(64, 16), 0x22, 4), {64, 16}, false, 2, 16)
                    .isNull());
        QVERIFY(inStrips(JpegFrames::encode(picture, TJSAMP_422), picture.size(), false, 2, 16).isNull());
        QVERIFY(inStrips(JpegFrames::encode(picture, TJSAMP_422, TJFLAG_PROGRESSIVE), picture.size(), false, 2, 16)
                    .isNull());
        QByteArray lostMarker = restarts;
        const int marker = lostMarker.indexOf(QByteArray("\xFF\xD3", 2), JpegFrames::firstScan(restarts));
        lostMarker[marker + 1] = char(0xD5);
        QVERIFY(inStrips(lostMarker, picture.size(), false, 2, 16).isNull());
        const QByteArray cutShort = restarts.left(restarts.size() * 2 / 3);
        QVERIFY(inStrips(cutShort, picture.size(), false, 2, 16).isNull());

        // The reader gives each what the whole decode gives, and the frame
        // that can be cut (large enough to be) the same pixels.
        QVERIFY(qint64(picture.width()) * picture.height() >= ParallelJpegDecoder::kMinPixels);
        QCOMPARE(ours(restarts), whole(restarts, false));
        QCOMPARE(ours(lostMarker), whole(lostMarker, false));
        QCOMPARE(ours(cutShort), whole(cutShort, false));
        QByteArray damaged = restarts;
        for (int i = JpegFrames::firstScan(restarts) + 100; i < damaged.size() - 2; i += 4099)
            damaged[i] = char(damaged[i] ^ 0x5A);
        QCOMPARE(ours(damaged).size(), qts(damaged).size());
    }

    void damagedFramesAsQtsReaderSeesThem()
    {
        const QByteArray jpeg = JpegFrames::frame(64, 48);
        const int scan = JpegFrames::firstScan(jpeg);
        QVERIFY(scan > 0);
        QByteArray flipped = jpeg;
        for (int i = scan + 10; i < jpeg.size() - 2; i += 17)
            flipped[i] = char(~flipped[i]);
        const QList<QPair<QByteArray, QByteArray>> frames = {
            {"empty", QByteArray()},
            {"text", "not a picture at all"},
            {"start marker only", jpeg.left(2)},
            {"cut in the tables", jpeg.left(scan / 2)},
            {"cut at the first scan", jpeg.left(scan)},
            {"cut inside the scan", jpeg.left(scan + (jpeg.size() - scan) / 2)},
            {"damaged scan", flipped},
            {"PNG", [] {
                 QByteArray png;
                 QBuffer buffer(&png);
                 buffer.open(QIODevice::WriteOnly);
                 JpegFrames::pattern(8, 8).save(&buffer, "PNG");
                 return png;
             }()},
        };
        for (const auto& frame : frames) {
            const QImage mine = ours(frame.second), theirs = qts(frame.second);
            QVERIFY2(mine.isNull() == theirs.isNull(), frame.first);
            QVERIFY2(mine.size() == theirs.size(), frame.first);
        }
        QVERIFY(ours(QByteArray()).isNull() && ours(jpeg.left(scan / 2)).isNull() && ours("nope").isNull());
    }

    void hostileHeadersAreRefusedButTheirSizeIsAnswered()
    {
        const QByteArray jpeg = JpegFrames::frame(16, 16, TJSAMP_444);
        // Too wide, too many pixels, the largest a JPEG can claim.
        for (const QSize size : {QSize(15361, 16), QSize(8000, 4200), QSize(65500, 65500)}) {
            const QByteArray hostile = claiming(jpeg, size.width(), size.height());
            QCOMPARE(headerSize(hostile), size);
            QVERIFY(ours(hostile).isNull());
        }
        QVERIFY(!ours(claiming(jpeg, 32, 32)).isNull());
    }

    void heldPicturesAreNeverWrittenFreedOnesAreReused()
    {
        const QImage red = ours(solid(Qt::red));
        QImage blue = ours(solid(Qt::blue));
        const uchar* freed = blue.constBits();
        blue = QImage();
        const QImage green = ours(solid(Qt::green));
        // The memory nobody held any more was decoded into again...
        QCOMPARE(green.constBits(), freed);
        QVERIFY(near(green.pixelColor(10, 10), Qt::green));
        // ...and the picture still held was left alone.
        QVERIFY(near(red.pixelColor(10, 10), Qt::red));
        // So it stays while its holders come and go and other sizes pass.
        const QImage wide = ours(solid(Qt::blue, 96, 48));
        for (int i = 0; i < 4; ++i)
            QVERIFY(!ours(solid(i % 2 ? Qt::yellow : Qt::cyan)).isNull());
        QVERIFY(near(red.pixelColor(10, 10), Qt::red) && near(green.pixelColor(10, 10), Qt::green)
                && near(wide.pixelColor(10, 10), Qt::blue));
    }

    void framePumpShowsFramesAndLeavesHeldPicturesAlone()
    {
        Probe::Session s(Probe::camera("MJPG", 64, 48));
        // A receiver that keeps the pictures themselves, not copies.
        QList<QImage> held;
        QObject::connect(s.window.get(), &MainWindow::newImage, [&held](const QImage& i) { held << i; });
        const QList<QColor> colours = {Qt::red, Qt::blue, Qt::green, Qt::red, Qt::blue, Qt::green};
        for (int i = 0; i < colours.size(); ++i) {
            const QByteArray jpeg = solid(colours[i]);
            s.show(Fake::Frame(std::vector<unsigned char>(jpeg.begin(), jpeg.end()), unsigned(i + 1)));
        }
        for (int i = 0; i < colours.size(); ++i)
            QVERIFY(near(held[i].pixelColor(32, 24), colours[i]));
        QVERIFY(!s.window->findChild<QLabel*>("imageLabel")->pixmap(Qt::ReturnByValue).isNull());

        for (const QByteArray& bad : {QByteArray("garbage"), claiming(solid(Qt::red), 65500, 65500)})
            s.show(Fake::Frame(std::vector<unsigned char>(bad.begin(), bad.end()), 9));
        QCOMPARE(s.images.size(), colours.size() + 2);
        QVERIFY(held.last().isNull() && held[held.size() - 2].isNull());
        QVERIFY(Probe::status(*s.window).startsWith("7:9 Fps: "));
        QVERIFY(s.camera().handedOut.empty());
    }

    void labelShowsThePixelsOfThePictureMadeAPixmapAndScaled()
    {
        const struct
        {
            const char* fourcc;
            QSize size;
            int bytesPerPixel;
        } rows[] = {{"RGB3", {1280, 720}, 3}, {"BGR3", {200, 150}, 3}, {"GRBG", {320, 240}, 1}, {"MJPG", {96, 64}, 0}};
        QRandomGenerator random(7);
        for (const auto& row : rows) {
            const int w = row.size.width(), h = row.size.height();
            auto device = Probe::camera(row.fourcc, unsigned(w), unsigned(h));
            device.formats[0].resolutions[0].bytesPerLine = w * row.bytesPerPixel;
            Probe::Session s(device);
            std::vector<unsigned char> bytes(size_t(w * h * row.bytesPerPixel));
            for (unsigned char& byte : bytes)
                byte = uchar(random.bounded(256));
            if (row.bytesPerPixel == 0) {
                const QByteArray jpeg = JpegFrames::frame(w, h);
                bytes.assign(jpeg.begin(), jpeg.end());
            }
            s.show(Fake::Frame(bytes));
            const QImage expected = QPixmap::fromImage(s.images.last())
                                        .scaled(QSize(640, 480), Qt::KeepAspectRatio, Qt::FastTransformation)
                                        .toImage();
            const QImage shown = s.window->findChild<QLabel*>("imageLabel")->pixmap(Qt::ReturnByValue).toImage();
            QVERIFY2(shown == expected, row.fourcc);
        }
    }
};

QTEST_MAIN(TestMjpgReader)
#include "test_mjpgreader.moc"
