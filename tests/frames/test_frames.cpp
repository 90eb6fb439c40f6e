// The core's frames alone: what a whole frame is, every format into every
// picture layout, and the JPEG decoder's refusals.
#include "jpegframes.h"
#include "pictures.h"

#include <frameconverter.h>
#include <jpegdecoder.h>
#include <pixelformat.h>

#include <QtTest>

#include <cstring>
#include <vector>

using namespace Tarvello;

namespace {

const PixelLayout kLayouts[] = {PixelLayout::Rgb24, PixelLayout::Bgr24, PixelLayout::Rgb32, PixelLayout::Grey8,
                                PixelLayout::Samples};

// A picture of exactly its pixels, so that a write past it is caught.
struct Picture
{
    Picture(int width, int height, int bytesPerPixel)
        : bytes(size_t(width * height * bytesPerPixel)),
          buffer{bytes.data(), width, height, (long long)width * bytesPerPixel, PixelLayout::Rgb24}
    {
    }
    Picture& as(PixelLayout layout)
    {
        buffer.layout = layout;
        return *this;
    }
    const unsigned char* pixel(int x, int y) const
    {
        return bytes.data() + y * buffer.bytesPerLine + x * (buffer.bytesPerLine / buffer.width);
    }

    std::vector<unsigned char> bytes;
    PictureBuffer buffer;
};

// The same picture in RGB, BGR and 32-bit words: the channels where each
// layout puts them. swscale converts YUV into each layout by a routine of its
// own, which round up to two steps apart.
bool near(int a, int b)
{
    return qAbs(a - b) <= 2;
}

bool sameColours(const Picture& rgb, const Picture& bgr, const Picture& words)
{
    for (int y = 0; y < rgb.buffer.height; ++y) {
        for (int x = 0; x < rgb.buffer.width; ++x) {
            const unsigned char* p = rgb.pixel(x, y);
            const unsigned char* q = bgr.pixel(x, y);
            quint32 word = 0;
            std::memcpy(&word, words.pixel(x, y), 4);
            if (!near(q[0], p[2]) || !near(q[1], p[1]) || !near(q[2], p[0]) || word >> 24 != 0xFF
                || !near(int(word >> 16 & 0xFF), p[0]) || !near(int(word >> 8 & 0xFF), p[1])
                || !near(int(word & 0xFF), p[2]))
                return false;
        }
    }
    return true;
}

} // namespace

class TestFrames : public QObject
{
    Q_OBJECT

private slots:
    void wholeFramesAreRowsApartWithoutTheLastRowsPadding()
    {
        const PixelFormat rgb = PixelFormat::of("RGB3");
        QCOMPARE(rgb.wholeFrameBytes(64, 48, 200), 200LL * 47 + 192);
        QVERIFY(rgb.holdsWholeFrame(200 * 47 + 192, 64, 48, 200));
        QVERIFY(!rgb.holdsWholeFrame(200 * 47 + 191, 64, 48, 200));
        // Rows shorter than their pixels, no size, no raw layout, another case.
        QCOMPARE(rgb.wholeFrameBytes(64, 48, 191), -1LL);
        QCOMPARE(rgb.wholeFrameBytes(0, 48, 192), -1LL);
        QCOMPARE(PixelFormat::of("MJPG").wholeFrameBytes(64, 48, 0), -1LL);
        QVERIFY(!PixelFormat::of("rgb3").isKnown());
        QCOMPARE(PixelFormat::of("YUYV").rowBytes(64), 128LL);
        QCOMPARE(PixelFormat::of("BA81").kind(), PixelFormat::Kind::Bayer);
    }

    void rawFramesConvertIntoEveryLayout()
    {
        const int width = 20, height = 12;
        for (const char* fourcc : {"RGB3", "BGR3", "GRBG", "GBRG", "RGGB", "BA81", "YUYV"}) {
            const int samples = PixelFormat::of(fourcc).bytesPerPixel();
            const int bytesPerLine = width * samples + 8;
            // The last row's padding left out: nothing may read it.
            const QByteArray frame = Pictures::counting(bytesPerLine * height).left(bytesPerLine * height - 8);
            const auto* data = reinterpret_cast<const unsigned char*>(frame.constData());
            FrameConverter converter(FrameLayout{fourcc, width, height, bytesPerLine});
            std::vector<Picture> pictures;
            for (const PixelLayout layout : kLayouts) {
                QVERIFY2(FrameConverter::canConvert(fourcc, layout), fourcc);
                pictures.emplace_back(width, height, bytesPerPixel(layout, samples));
                std::string problem;
                QVERIFY2(converter.convert(data, size_t(frame.size()), pictures.back().as(layout).buffer, &problem),
                         problem.c_str());
            }
            QVERIFY2(sameColours(pictures[0], pictures[1], pictures[2]), fourcc);
            const Picture& own = pictures[4];
            for (int y = 0; y < height; ++y)
                QVERIFY(std::memcmp(own.pixel(0, y), data + y * bytesPerLine, size_t(width * samples)) == 0);
            if (QByteArray(fourcc) == "RGB3")
                QCOMPARE(pictures[0].bytes, own.bytes);

            std::string problem;
            QVERIFY(!converter.convert(data, size_t(frame.size() - 1), pictures[0].as(PixelLayout::Rgb24).buffer,
                                       &problem));
            QVERIFY2(problem.find("needs " + std::to_string(frame.size()) + " bytes, this one has") != std::string::npos,
                     problem.c_str());
            // A picture of another size is not written.
            Picture small(width - 1, height, 3);
            QVERIFY(!converter.convert(data, size_t(frame.size()), small.buffer, &problem));
        }
        QVERIFY(!FrameConverter::canConvert("XXXX", PixelLayout::Samples));
        QVERIFY(!FrameConverter::canConvert("MJPG", PixelLayout::Samples));
    }

    void jpegFramesDecodeIntoRgbBgrWordsAndGrey()
    {
        QFile file(Pictures::path("mjpg-422-50x30.jpg"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray jpeg = file.readAll();
        const auto* data = reinterpret_cast<const unsigned char*>(jpeg.constData());
        FrameConverter converter(FrameLayout{"MJPG", 50, 30, 0});
        JpegDecoder::Header header;
        std::string problem;
        QVERIFY(converter.readJpegHeader(data, size_t(jpeg.size()), &header, &problem));
        QVERIFY(header.width == 50 && header.height == 30 && !header.grey && header.convertible);
        std::vector<Picture> pictures;
        for (const PixelLayout layout : {PixelLayout::Rgb24, PixelLayout::Bgr24, PixelLayout::Rgb32,
                                         PixelLayout::Grey8}) {
            pictures.emplace_back(50, 30, bytesPerPixel(layout, 0));
            QVERIFY2(converter.convert(data, size_t(jpeg.size()), pictures.back().as(layout).buffer, &problem),
                     problem.c_str());
        }
        QVERIFY(sameColours(pictures[0], pictures[1], pictures[2]));
        // Grey is the picture's luma, which the colours are made from.
        for (int y = 0; y < 30; y += 7) {
            for (int x = 0; x < 50; x += 7) {
                const unsigned char* p = pictures[0].pixel(x, y);
                QVERIFY(qAbs(*pictures[3].pixel(x, y) - (0.299 * p[0] + 0.587 * p[1] + 0.114 * p[2])) < 3);
            }
        }

        // A picture of another size, scaled by TurboJPEG if asked, is refused.
        Picture small(25, 15, 3);
        QVERIFY(!converter.convert(data, size_t(jpeg.size()), small.buffer, &problem));
        QVERIFY2(problem.find("claims 50x30") != std::string::npos, problem.c_str());
    }

    void jpegDecoderRefusesWhatItCannotDecode()
    {
        JpegDecoder decoder;
        JpegDecoder::Header header;
        QVERIFY(!decoder.readHeader(reinterpret_cast<const unsigned char*>("nope"), 4, &header));
        QVERIFY(decoder.problem().rfind("not a JPEG picture: ", 0) == 0);

        // A header claiming 65500 x 65500 pixels: read, but not decoded.
        const QByteArray huge = QByteArray::fromHex("ffd8ffc0000b08ffdcffdc01011100ffda0008010100003f00ffd9");
        const auto* hostile = reinterpret_cast<const unsigned char*>(huge.constData());
        QVERIFY(decoder.readHeader(hostile, size_t(huge.size()), &header));
        QCOMPARE(header.width, 65500);
        QVERIFY(!JpegDecoder::allowed(header));
        QVERIFY(!decoder.readAllowedHeader(hostile, size_t(huge.size()), &header));
        QCOMPARE(decoder.problem(), std::string("JPEG header claims an impossible size 65500x65500"));
        Picture one(1, 1, 3);
        QVERIFY(!decoder.decode(hostile, size_t(huge.size()), one.buffer));

        // libjpeg-turbo makes no RGB of CMYK: a refusal, not a picture.
        const QByteArray cmyk = JpegFrames::cmykFrame(16, 8);
        const auto* cmykData = reinterpret_cast<const unsigned char*>(cmyk.constData());
        QVERIFY(decoder.readHeader(cmykData, size_t(cmyk.size()), &header));
        QVERIFY(!header.convertible);
        Picture picture(16, 8, 3);
        QVERIFY(!decoder.decode(cmykData, size_t(cmyk.size()), picture.buffer));
        QVERIFY2(decoder.problem().rfind("JPEG picture cannot be decoded: ", 0) == 0, decoder.problem().c_str());
    }
};

QTEST_GUILESS_MAIN(TestFrames)
#include "test_frames.moc"
