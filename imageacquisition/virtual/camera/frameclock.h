#pragma once

#include <optional>

namespace ImageAcquisition {

// When frames are captured: frame k of a sequence is exposed during the
// k-th period after the start and is ready at its end. A reader that comes
// late gets the newest frame; the ones in between were dropped.
class FrameClock
{
public:
    struct Tick
    {
        unsigned long long index;
        long long captureNs; // when the frame was ready, monotonic
        long long sinceStartNs;
    };

    void start(long long nowNs, long long periodNs);
    // The newest frame ready at nowNs that is newer than the last one taken.
    std::optional<Tick> due(long long nowNs) const;
    void taken(const Tick& tick);
    // When the first frame newer than the last one taken is ready.
    long long nextReadyNs() const;
    // That frame, before it is ready.
    Tick upcoming() const;

private:
    long long m_startNs = 0;
    long long m_periodNs = 1;
    long long m_lastIndex = -1;
};

} // namespace ImageAcquisition
