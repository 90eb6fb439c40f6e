#pragma once

namespace ImageAcquisition {

// Nanoseconds of CLOCK_MONOTONIC: the clock that frame time stamps use.
long long monotonicNanoseconds();

} // namespace ImageAcquisition
