#include "processmeter.h"

#include <sys/resource.h>

#include <cstdio>
#include <cstring>

namespace ProcessMeter {

double cpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    auto seconds = [](const timeval& t) { return double(t.tv_sec) + double(t.tv_usec) / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

long residentKiB()
{
    FILE* status = std::fopen("/proc/self/status", "r");
    if (!status)
        return -1;
    long kib = -1;
    char line[256];
    while (std::fgets(line, sizeof line, status)) {
        if (std::strncmp(line, "VmRSS:", 6) == 0) {
            std::sscanf(line + 6, "%ld", &kib);
            break;
        }
    }
    std::fclose(status);
    return kib;
}

} // namespace ProcessMeter
