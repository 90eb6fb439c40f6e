#include "frameimage.h"

#include "streamformat.h"

#include <imageacquisition/picturelimits.h>

#include <QBuffer>
#include <QByteArray>
#include <QImageReader>

#include <memory>

extern "C" {
#include <libswscale/swscale.h>
}

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
        return throughSwscale(format, data, AV_PIX_FMT_YUYV422);
    if (format.fourcc == "GRBG")
        return throughSwscale(format, data, AV_PIX_FMT_BAYER_GRBG8);
    return QImage();
}

QImage FrameImage::fromJpeg(const unsigned char* data, int size)
{
    QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), size);
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, "JPEG");
    const QSize declared = reader.size();
    // The header is checked before anything is decoded: one flipped bit in
    // it would otherwise have the reader allocate gigabytes.
    if (!ImageAcquisition::PictureLimits::allowed(declared.width(), declared.height()))
        return QImage();
    return reader.read();
}

QImage FrameImage::throughSwscale(const StreamFormat& format, const unsigned char* data, int source)
{
    // Packed YUV and the Bayer mosaic are FFmpeg's daily bread: its
    // converter (the same one the recorder uses) does them, with a proper
    // demosaic, straight into the picture's rows.
    const std::unique_ptr<SwsContext, void (*)(SwsContext*)> context(
        sws_getContext(format.width, format.height, AVPixelFormat(source), format.width, format.height,
                       AV_PIX_FMT_RGB24, SWS_BILINEAR, nullptr, nullptr, nullptr),
        sws_freeContext);
    if (!context)
        return QImage();
    QImage image(format.width, format.height, QImage::Format_RGB888);
    const uint8_t* const planes[4] = {data, nullptr, nullptr, nullptr};
    const int strides[4] = {format.bytesPerLine, 0, 0, 0};
    uint8_t* const rows[4] = {image.bits(), nullptr, nullptr, nullptr};
    const int rowStrides[4] = {int(image.bytesPerLine()), 0, 0, 0};
    sws_scale(context.get(), planes, strides, 0, format.height, rows, rowStrides);
    return image;
}
