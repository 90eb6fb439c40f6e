#include "mjpgimagehandler.h"

#include "imagelimits.h"
#include "paralleljpegdecoder.h"
#include "picturepool.h"
#include "turbojpegdecompressor.h"

#include <QBuffer>
#include <QImageReader>
#include <QVariant>

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
    TurboJpegDecompressor decompressor;
    TurboJpegDecompressor::Header header;
    // The size is checked before any picture is allocated for it.
    if (!decompressor.readHeader(bytes, data.size(), &header) || !ImageLimits::allowed(header.size))
        return false;
    if (header.format == QImage::Format_Invalid) {
        // CMYK frames need a conversion libjpeg-turbo does not make; Qt's
        // own reader makes it.
        QBuffer copy;
        copy.setData(data.constData(), data.size());
        copy.open(QIODevice::ReadOnly);
        return QImageReader(&copy, "jpeg").read(image);
    }
    QImage picture = m_pool.take(header.size, header.format);
    if (picture.isNull())
        return false;
    if (!ParallelJpegDecoder::decode(bytes, data.size(), picture) && !decompressor.decode(bytes, data.size(), picture))
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
    const QByteArray data = pending();
    TurboJpegDecompressor decompressor;
    TurboJpegDecompressor::Header header;
    if (!decompressor.readHeader(reinterpret_cast<const uchar*>(data.constData()), data.size(), &header))
        return QVariant();
    if (option == Size)
        return header.size;
    return header.format == QImage::Format_Invalid ? QImage::Format_RGB32 : header.format;
}
