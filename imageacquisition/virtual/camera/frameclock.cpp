#include "frameclock.h"

#include <algorithm>

namespace ImageAcquisition {

void FrameClock::start(long long nowNs, long long periodNs)
{
    m_startNs = nowNs;
    m_periodNs = std::max(1LL, periodNs);
    m_lastIndex = -1;
}

std::optional<FrameClock::Tick> FrameClock::due(long long nowNs) const
{
    const long long elapsed = nowNs - m_startNs;
    if (elapsed < m_periodNs)
        return std::nullopt;
    const long long index = elapsed / m_periodNs - 1;
    if (index <= m_lastIndex)
        return std::nullopt;
    const long long sinceStart = (index + 1) * m_periodNs;
    return Tick{static_cast<unsigned long long>(index), m_startNs + sinceStart, sinceStart};
}

long long FrameClock::nextReadyNs() const
{
    return m_startNs + (m_lastIndex + 2) * m_periodNs;
}

FrameClock::Tick FrameClock::upcoming() const
{
    const long long index = m_lastIndex + 1;
    const long long sinceStart = (index + 1) * m_periodNs;
    return Tick{static_cast<unsigned long long>(index), m_startNs + sinceStart, sinceStart};
}

void FrameClock::taken(const Tick& tick)
{
    m_lastIndex = static_cast<long long>(tick.index);
}

} // namespace ImageAcquisition
