#include "frameimage.h"

#include "streamformat.h"

#include <QBuffer>
#include <QByteArray>
#include <QImageReader>

#include <algorithm>

namespace {

unsigned char clamp(int value)
{
    return static_cast<unsigned char>(std::min(255, std::max(0, value)));
}

} // namespace

bool FrameImage::canConvert(const QString& fourcc)
{
    return fourcc == "RGB3" || fourcc == "BGR3" || fourcc == "MJPG" || fourcc == "YUYV" || fourcc == "GRBG";
}

QImage FrameImage::convert(const StreamFormat& format, const unsigned char* data, int size)
{
    if (!data || size <= 0)
        return QImage();
    if (format.fourcc == "MJPG")
        return fromJpeg(data, size);
    const int minimumBytesPerLine = format.fourcc == "GRBG" ? format.width : format.fourcc == "YUYV" ? format.width * 2 : format.width * 3;
    if (format.bytesPerLine < minimumBytesPerLine || qint64(size) < qint64(format.bytesPerLine) * format.height)
        return QImage();
    if (format.fourcc == "RGB3")
        return QImage(data, format.width, format.height, format.bytesPerLine, QImage::Format_RGB888).copy();
    if (format.fourcc == "BGR3")
        return QImage(data, format.width, format.height, format.bytesPerLine, QImage::Format_RGB888).rgbSwapped();
    if (format.fourcc == "YUYV")
        return fromYuyv(format, data);
    if (format.fourcc == "GRBG")
        return fromGrbg(format, data);
    return QImage();
}

QImage FrameImage::fromJpeg(const unsigned char* data, int size)
{
    // Nothing in a frame's JPEG header is checked by the camera: a corrupt
    // one may declare a picture far larger than any camera sends, and
    // decoding it would only allocate memory for noise.
    constexpr int kMaxDimension = 15360;
    constexpr qint64 kMaxPixels = 33177600;
    QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), size);
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, "JPEG");
    const QSize declared = reader.size();
    if (!declared.isValid() || declared.isEmpty() || declared.width() > kMaxDimension || declared.height() > kMaxDimension
        || qint64(declared.width()) * declared.height() > kMaxPixels)
        return QImage();
    return reader.read();
}

QImage FrameImage::fromYuyv(const StreamFormat& format, const unsigned char* data)
{
    QImage image(format.width, format.height, QImage::Format_RGB888);
    for (int y = 0; y < format.height; ++y) {
        const unsigned char* in = data + qint64(y) * format.bytesPerLine;
        unsigned char* out = image.scanLine(y);
        for (int x = 0; x < format.width; ++x) {
            // BT.601 studio range, two pixels sharing one U and V.
            const int luma = 298 * (in[x * 2] - 16);
            const int pair = (x & ~1) * 2;
            const int u = in[pair + 1] - 128;
            const int v = in[pair + 3] - 128;
            out[x * 3] = clamp((luma + 409 * v + 128) >> 8);
            out[x * 3 + 1] = clamp((luma - 100 * u - 208 * v + 128) >> 8);
            out[x * 3 + 2] = clamp((luma + 516 * u + 128) >> 8);
        }
    }
    return image;
}

QImage FrameImage::fromGrbg(const StreamFormat& format, const unsigned char* data)
{
    // Each 2x2 cell (G R / B G) gives all four of its pixels one colour:
    // enough to look at, and every byte of the mosaic is used.
    QImage image(format.width, format.height, QImage::Format_RGB888);
    for (int y = 0; y < format.height; ++y) {
        const int top = y & ~1;
        const int bottom = std::min(top + 1, format.height - 1);
        const unsigned char* even = data + qint64(top) * format.bytesPerLine;
        const unsigned char* odd = data + qint64(bottom) * format.bytesPerLine;
        unsigned char* out = image.scanLine(y);
        for (int x = 0; x < format.width; ++x) {
            const int left = x & ~1;
            const int right = std::min(left + 1, format.width - 1);
            out[x * 3] = even[right];
            out[x * 3 + 1] = static_cast<unsigned char>((even[left] + odd[right]) / 2);
            out[x * 3 + 2] = odd[left];
        }
    }
    return image;
}
