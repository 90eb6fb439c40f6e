#include "mjpgimagehandler.h"

#include "paralleljpegdecoder.h"
#include "picturepool.h"

#include <jpegdecoder.h>

#include <QBuffer>
#include <QImageReader>
#include <QVariant>

using Tarvello::JpegDecoder;

namespace {

// The picture format a frame decodes into without a conversion of rows:
// Grayscale8 for grey frames, RGB32 for colour, Invalid for colour spaces
// libjpeg-turbo cannot turn into RGB (CMYK, YCCK).
QImage::Format pictureFormat(const JpegDecoder::Header& header)
{
    if (!header.convertible)
        return QImage::Format_Invalid;
    return header.grey ? QImage::Format_Grayscale8 : QImage::Format_RGB32;
}

bool readHeader(const QByteArray& data, JpegDecoder::Header* header)
{
    JpegDecoder decoder;
    return decoder.readHeader(reinterpret_cast<const uchar*>(data.constData()), size_t(data.size()), header);
}

} // namespace

MjpgImageHandler::MjpgImageHandler(PicturePool& pool)
    : m_pool(pool)
{
}

bool MjpgImageHandler::canRead(QIODevice* device)
{
    return device && device->peek(2) == QByteArray("\xFF\xD8", 2);
}

bool MjpgImageHandler::canRead() const
{
    return canRead(device());
}

QByteArray MjpgImageHandler::pending() const
{
    QIODevice* const source = device();
    if (!source)
        return QByteArray();
    if (const QBuffer* buffer = qobject_cast<const QBuffer*>(source)) {
        const QByteArray& all = buffer->data();
        const qint64 position = qBound<qint64>(0, buffer->pos(), all.size());
        return QByteArray::fromRawData(all.constData() + position, int(all.size() - position));
    }
    if (!m_hasRead) {
        m_read = source->readAll();
        m_hasRead = true;
    }
    return m_read;
}

bool MjpgImageHandler::read(QImage* image)
{
    const QByteArray data = pending();
    const auto* bytes = reinterpret_cast<const uchar*>(data.constData());
    JpegDecoder decoder;
    JpegDecoder::Header header;
    // The size is checked before any picture is allocated for it.
    if (!decoder.readHeader(bytes, size_t(data.size()), &header) || !JpegDecoder::allowed(header))
        return false;
    const QImage::Format format = pictureFormat(header);
    if (format == QImage::Format_Invalid) {
        // CMYK frames need a conversion libjpeg-turbo does not make; Qt's
        // own reader makes it.
        QBuffer copy;
        copy.setData(data.constData(), data.size());
        copy.open(QIODevice::ReadOnly);
        return QImageReader(&copy, "jpeg").read(image);
    }
    QImage picture = m_pool.take(QSize(header.width, header.height), format);
    if (picture.isNull())
        return false;
    const Tarvello::PictureBuffer whole{picture.bits(), picture.width(), picture.height(), picture.bytesPerLine(),
                                        header.grey ? Tarvello::PixelLayout::Grey8 : Tarvello::PixelLayout::Rgb32};
    if (!ParallelJpegDecoder::decode(bytes, data.size(), picture) && !decoder.decode(bytes, size_t(data.size()), whole))
        return false;
    m_pool.keep(picture);
    *image = picture;
    return true;
}

bool MjpgImageHandler::supportsOption(ImageOption option) const
{
    return option == Size || option == ImageFormat;
}

QVariant MjpgImageHandler::option(ImageOption option) const
{
    if (option != Size && option != ImageFormat)
        return QVariant();
    JpegDecoder::Header header;
    if (!readHeader(pending(), &header))
        return QVariant();
    if (option == Size)
        return QSize(header.width, header.height);
    const QImage::Format format = pictureFormat(header);
    return format == QImage::Format_Invalid ? QImage::Format_RGB32 : format;
}
