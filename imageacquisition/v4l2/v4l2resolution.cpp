#include "v4l2resolution.h"

#include <utility>

namespace ImageAcquisition {

V4l2Resolution::V4l2Resolution(unsigned width, unsigned height, int bytesPerLine,
                               std::vector<V4l2FrameInterval> intervals)
    : m_width(width), m_height(height), m_bytesPerLine(bytesPerLine),
      m_intervals(std::move(intervals))
{
}

int V4l2Resolution::getFrameIntervalCount() const
{
    return static_cast<int>(m_intervals.size());
}

IFrameInterval* V4l2Resolution::getFrameInterval(int index)
{
    if (index < 0 || index >= getFrameIntervalCount())
        return nullptr;
    return &m_intervals[static_cast<std::size_t>(index)];
}

int V4l2Resolution::findInterval(unsigned numerator, unsigned denominator) const
{
    for (std::size_t i = 0; i < m_intervals.size(); ++i) {
        if (m_intervals[i].equals(numerator, denominator))
            return static_cast<int>(i);
    }
    return -1;
}

} // namespace ImageAcquisition
