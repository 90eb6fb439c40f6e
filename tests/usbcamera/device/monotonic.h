#pragma once

#include <ctime>

namespace UsbCamera {

// The device's clock: seconds on CLOCK_MONOTONIC, the clock the host's
// frame time stamps use too.
inline double monotonicSeconds()
{
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

} // namespace UsbCamera
