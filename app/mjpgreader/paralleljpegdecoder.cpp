#include "paralleljpegdecoder.h"

#include "jpegstripdecoder.h"
#include "jpegstrips.h"

#include <QSemaphore>
#include <QThread>
#include <QThreadPool>

#include <algorithm>
#include <atomic>

namespace ParallelJpegDecoder {

namespace {
constexpr int kMaxStrips = 4;
// Fewer rows than this and a strip's headers and context rows cost too much.
constexpr int kMinStripRows = 256;
} // namespace

bool decode(const uchar* data, qint64 size, QImage& picture)
{
    const int cores = std::min(kMaxStrips, QThread::idealThreadCount());
    if (cores < 2 || qint64(picture.width()) * picture.height() < kMinPixels)
        return false;
    const QVector<JpegStrips::Strip> strips = JpegStrips::cut(data, size, cores, kMinStripRows);
    if (strips.isEmpty() || strips.last().keepTo != picture.height())
        return false;

    // The strips write rows of their own; the picture is not touched
    // through QImage on the other threads, which could detach it.
    uchar* const bits = picture.bits();
    const qsizetype bytesPerLine = picture.bytesPerLine();
    const int width = picture.width();
    const QImage::Format format = picture.format();
    std::atomic<bool> allDecoded{true};
    QSemaphore finished;
    int handedOver = 0;
    auto decodeStrip = [&](int k) {
        if (!JpegStripDecoder::decode(strips[k], bits, bytesPerLine, width, format))
            allDecoded = false;
    };
    for (int k = 1; k < strips.size(); ++k) {
        // A strip no pool thread is free for is decoded here: waiting for
        // one could wait for ever when the caller is a pool thread itself.
        if (QThreadPool::globalInstance()->tryStart([&decodeStrip, &finished, k] {
                decodeStrip(k);
                finished.release();
            }))
            ++handedOver;
        else
            decodeStrip(k);
    }
    decodeStrip(0);
    finished.acquire(handedOver);
    return allDecoded;
}

} // namespace ParallelJpegDecoder
