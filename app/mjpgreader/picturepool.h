#pragma once

#include <QImage>
#include <QVector>

#include <mutex>

// Pictures the decoder hands out and may decode into again once nobody
// else holds them. A fresh picture of a megapixel frame is memory the
// kernel maps anew, and every page of it faults on its first write; the
// pool keeps the last few, so a steady stream writes into pages it already
// has. A picture somebody still holds (the window's receivers, a snapshot)
// is shared, never detached, and so never written to.
class PicturePool
{
public:
    explicit PicturePool(int capacity);

    // A picture of that size and format that nobody but the caller holds:
    // a kept one nobody uses any more, or else a new one (null if the
    // memory is not there).
    QImage take(const QSize& size, QImage::Format format);
    // Keeps a reference to the picture, to be taken again once its other
    // holders have let go. The oldest kept picture goes beyond the capacity.
    void keep(const QImage& picture);

private:
    const int m_capacity;
    std::mutex m_mutex; // decoders may run on several threads
    QVector<QImage> m_kept;
};
