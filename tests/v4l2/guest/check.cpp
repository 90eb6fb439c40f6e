#include "check.h"

#include <cstdio>

namespace Guest {

namespace {
int g_failures = 0;
int g_checks = 0;
} // namespace

void recordCheck(bool passed, const char* expression, const char* file, int line,
                 const std::string& detail)
{
    ++g_checks;
    if (passed)
        return;
    ++g_failures;
    std::printf("CHECK FAILED %s:%d: %s%s%s\n", file, line, expression, detail.empty() ? "" : ": ",
                detail.c_str());
    std::fflush(stdout);
}

int failureCount()
{
    return g_failures;
}

int checkCount()
{
    return g_checks;
}

} // namespace Guest
