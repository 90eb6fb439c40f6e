#pragma once

#include <QByteArray>
#include <QImageIOHandler>

class PicturePool;

// Reads a frame of a "MJPG" stream, a JPEG picture, with libjpeg-turbo
// straight into the picture format the live view shows, into memory the
// pool lends it.
class MjpgImageHandler : public QImageIOHandler
{
public:
    explicit MjpgImageHandler(PicturePool& pool);

    bool canRead() const override;
    bool read(QImage* image) override;
    QVariant option(ImageOption option) const override;
    bool supportsOption(ImageOption option) const override;

    static bool canRead(QIODevice* device);

private:
    // The bytes from the device's position on; those of an in-memory
    // buffer (the frame pump's case) are not copied.
    QByteArray pending() const;

    PicturePool& m_pool;
    mutable QByteArray m_read; // what was read from any other kind of device
    mutable bool m_hasRead = false;
};
