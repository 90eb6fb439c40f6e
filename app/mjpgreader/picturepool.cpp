#include "picturepool.h"

PicturePool::PicturePool(int capacity)
    : m_capacity(capacity)
{
}

QImage PicturePool::take(const QSize& size, QImage::Format format)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (int i = 0; i < m_kept.size(); ++i) {
            // Detached means the pool's reference is the only one left; taking
            // it out under the lock means no other decoder can take it too.
            if (m_kept[i].isDetached() && m_kept[i].size() == size && m_kept[i].format() == format) {
                QImage reused = std::move(m_kept[i]);
                m_kept.remove(i);
                return reused;
            }
        }
        // Pictures of another size nobody holds are from a stream that has
        // changed its format: give their memory back.
        for (int i = m_kept.size() - 1; i >= 0; --i) {
            if (m_kept[i].isDetached())
                m_kept.remove(i);
        }
    }
    return QImage(size, format);
}

void PicturePool::keep(const QImage& picture)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_kept.append(picture);
    while (m_kept.size() > m_capacity)
        m_kept.removeFirst();
}
