#include "monotonicclock.h"

#include <ctime>

namespace ImageAcquisition {

long long monotonicNanoseconds()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<long long>(now.tv_sec) * 1000000000LL + now.tv_nsec;
}

} // namespace ImageAcquisition
