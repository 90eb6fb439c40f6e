#include "v4l2frame.h"

namespace ImageAcquisition {

void V4l2Frame::fill(const unsigned char* data, int size, unsigned long long number,
                     TimeStamp timeStamp)
{
    m_data = data;
    m_size = data ? size : 0;
    m_number = number;
    m_timeStamp = timeStamp;
}

void V4l2Frame::detach()
{
    if (m_data && m_size > 0)
        m_copy.assign(m_data, m_data + m_size);
    else
        m_copy.clear();
    m_data = m_copy.empty() ? nullptr : m_copy.data();
    m_size = static_cast<int>(m_copy.size());
    m_hasBuffer = false;
}

} // namespace ImageAcquisition
