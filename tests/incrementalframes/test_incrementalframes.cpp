#include "canvas.h"
#include "dirtygrid.h"
#include "framecontent.h"
#include "framerenderer.h"
#include "jpegencoder.h"

#include <QtTest>

#include <vector>

using namespace ImageAcquisition;

namespace {

using Bytes = std::vector<unsigned char>;

// A picture with something in every cell, so that no two cells code alike.
Bytes picture(int width, int height)
{
    Bytes rgb;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            rgb.push_back(static_cast<unsigned char>(x * 255 / std::max(1, width - 1)));
            rgb.push_back(static_cast<unsigned char>(y * 255 / std::max(1, height - 1)));
            rgb.push_back(static_cast<unsigned char>(((x / 8 + y / 8) % 2) * 200));
        }
    }
    return rgb;
}

Bytes wholeEncoding(const Bytes& rgb, int width, int height)
{
    JpegEncoder encoder;
    Bytes out;
    out.resize(encoder.encode(rgb.data(), width, height, out));
    return out;
}

} // namespace

class TestIncrementalFrames : public QObject
{
    Q_OBJECT

private slots:
    void changedCellsEncodeLikeTheWholePicture_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<QVector<QRect>>("areas");
        QTest::addRow("nothing changed") << 320 << 240 << QVector<QRect>{};
        QTest::addRow("everything") << 320 << 240 << QVector<QRect>{{0, 0, 320, 240}};
        QTest::addRow("two runs in the same rows")
            << 1280 << 720 << QVector<QRect>{{10, 20, 200, 60}, {1000, 40, 270, 30}};
        QTest::addRow("rows apart") << 640 << 480 << QVector<QRect>{{0, 16, 640, 16}, {400, 200, 30, 60}};
        QTest::addRow("last cell, short row of cells") << 1920 << 1080 << QVector<QRect>{{1800, 1075, 120, 5}, {0, 40, 8, 8}};
        QTest::addRow("size off the MCU grid") << 100 << 37 << QVector<QRect>{{90, 33, 10, 4}, {5, 5, 1, 1}};
        QTest::addRow("rows that cells do not divide") << 328 << 64 << QVector<QRect>{{100, 20, 5, 5}};
        QTest::addRow("first cell, more than eight cells apart")
            << 640 << 480 << QVector<QRect>{{0, 0, 1, 1}, {600, 300, 1, 1}};
    }

    void changedCellsEncodeLikeTheWholePicture()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        QFETCH(QVector<QRect>, areas);
        JpegEncoder encoder;
        Bytes out;
        Bytes rgb = picture(width, height);
        QVERIFY(encoder.encode(rgb.data(), width, height, out) > 0);

        // Two pictures in a row, so that the cells taken from the last one
        // include cells that were themselves compressed alone.
        for (int round = 1; round <= 2; ++round) {
            DirtyGrid changed;
            changed.reset(width, height, JpegEncoder::cellWidth(width), JpegEncoder::kCellHeight);
            for (const QRect& area : areas) {
                for (int y = area.top(); y <= area.bottom(); ++y)
                    std::fill_n(rgb.begin() + (long(y) * width + area.left()) * 3, area.width() * 3, 40 * round);
                changed.mark(area.left(), area.top(), area.right() + 1, area.bottom() + 1);
            }
            out.resize(encoder.encodeChanged(rgb.data(), width, height, changed, out));
            QCOMPARE(out, wholeEncoding(rgb, width, height));
        }
    }

    void anotherSizeIsCompressedWhole()
    {
        JpegEncoder encoder;
        Bytes out;
        QVERIFY(encoder.encode(picture(320, 240).data(), 320, 240, out) > 0);
        const Bytes large = picture(640, 480);
        DirtyGrid none;
        none.reset(640, 480, JpegEncoder::cellWidth(640), JpegEncoder::kCellHeight);
        out.resize(encoder.encodeChanged(large.data(), 640, 480, none, out));
        QCOMPARE(out, wholeEncoding(large, 640, 480));
    }

    // Two buffers taking turns, as the camera's pool hands them out: each
    // frame follows on from the one two before it in the same buffer.
    void filledRectanglesPaintEveryRowAndNothingElse()
    {
        // Rows padded beyond the picture; the rectangle is clipped at the right.
        for (Encoding e : {Encoding::Rgb24, Encoding::Bgr24}) {
            const int width = 7, height = 5, bytesPerLine = 7 * 3 + 4;
            Bytes frame(size_t(bytesPerLine * height), 0xEE);
            Canvas canvas(e, frame.data(), width, height, bytesPerLine);
            canvas.fillRect(4, 1, 10, 3, {10, 20, 30});
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < bytesPerLine; ++x) {
                    const bool inside = y >= 1 && y < 4 && x >= 12 && x < 21;
                    const int channel = x % 3 == 1 ? 20 : (x % 3 == 0) == (e == Encoding::Rgb24) ? 10 : 30;
                    QCOMPARE(int(frame[size_t(y * bytesPerLine + x)]), inside ? channel : 0xEE);
                }
            }
        }
    }

    void rendererFramesMatchFramesMadeAfresh_data()
    {
        QTest::addColumn<int>("encoding");
        const char* names[] = {"RGB3", "BGR3", "GRBG", "YUYV", "MJPG"};
        for (Encoding e : {Encoding::Rgb24, Encoding::Bgr24, Encoding::BayerGrbg8, Encoding::Yuyv, Encoding::Mjpeg})
            QTest::addRow("%s", names[int(e)]) << int(e);
    }

    void rendererFramesMatchFramesMadeAfresh()
    {
        QFETCH(int, encoding);
        FrameRenderer steady;
        ImageSettings settings;
        settings.overlayText = "cells";
        FrameInfo info;
        info.caption = "640x480 60 fps";
        Bytes buffers[2];
        FrameContent contents[2];
        for (int frame = 0; frame < 32; ++frame) {
            info.number = static_cast<unsigned long long>(frame);
            info.seconds = frame * 0.11;
            if (frame == 15)
                settings.brightness = 30; // relights the whole background
            if (frame == 25)
                settings.errors = 0x1; // a status line more
            if (frame == 30)
                settings.overlayText.clear(); // a line less
            Bytes& out = buffers[frame % 2];
            out.resize(steady.render(Encoding(encoding), 640, 480, settings, info, out, &contents[frame % 2]));
            Bytes expected;
            expected.resize(FrameRenderer().render(Encoding(encoding), 640, 480, settings, info, expected));
            QVERIFY2(!out.empty() && out == expected, qPrintable(QString("frame %1").arg(frame)));
        }
    }
};

QTEST_GUILESS_MAIN(TestIncrementalFrames)
#include "test_incrementalframes.moc"
