#pragma once

#include <imageacquisition/iframe.h>

#include <ctime>

// The clock the camera layer stamps its frames with.
inline long long monotonicNs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<long long>(now.tv_sec) * 1000000000LL + now.tv_nsec;
}

inline ImageAcquisition::IFrame::TimeStamp stampOf(long long ns)
{
    return {ns / 1000000000LL, ns % 1000000000LL / 1000};
}

inline long long nanosecondsOf(const ImageAcquisition::IFrame::TimeStamp& stamp)
{
    return stamp.seconds * 1000000000LL + stamp.microseconds * 1000LL;
}
