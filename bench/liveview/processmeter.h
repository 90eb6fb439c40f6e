#pragma once

// The whole process's CPU time (all threads) and resident set.
namespace ProcessMeter {

double cpuSeconds();
// VmRSS of /proc/self/status, in KiB; -1 when it cannot be read.
long residentKiB();

} // namespace ProcessMeter
