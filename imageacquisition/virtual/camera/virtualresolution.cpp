#include "virtualresolution.h"

#include <cstddef>

namespace ImageAcquisition {

VirtualResolution::VirtualResolution(unsigned width, unsigned height, int bytesPerLine,
                                     std::vector<VirtualFrameInterval> intervals)
    : m_width(width), m_height(height), m_bytesPerLine(bytesPerLine), m_intervals(std::move(intervals))
{
}

int VirtualResolution::getFrameIntervalCount() const
{
    return static_cast<int>(m_intervals.size());
}

IFrameInterval* VirtualResolution::getFrameInterval(int index)
{
    return interval(index);
}

VirtualFrameInterval* VirtualResolution::interval(int index)
{
    if (index < 0 || index >= getFrameIntervalCount())
        return nullptr;
    return &m_intervals[static_cast<size_t>(index)];
}

} // namespace ImageAcquisition
