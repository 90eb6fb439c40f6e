#include "virtualframe.h"

namespace ImageAcquisition {

void VirtualFrame::setContents(int size, unsigned long long number, TimeStamp stamp)
{
    m_size = size;
    m_number = number;
    m_stamp = stamp;
    m_empty = false;
}

} // namespace ImageAcquisition
