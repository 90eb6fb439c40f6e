// The guest test program: runs in the throw-away virtual machine against the
// kernel's vivid driver, through the same calls the application makes.
// Usage: v4l2-guest-test GROUP...  (enumeration formats streaming controls
// emulated hotplug multiplanar)

#include "check.h"
#include "sections.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

int main(int argc, char** argv)
{
    // Only the real devices are under test.
    ::setenv("IMAGEACQUISITION_VIRTUAL_CAMERAS", "0", 1);
    const std::map<std::string, void (*)()> groups = {
        {"enumeration", Guest::testEnumeration}, {"formats", Guest::testFormats},
        {"streaming", Guest::testStreaming},     {"controls", Guest::testControls},
        {"emulated", Guest::testEmulated},       {"hotplug", Guest::testHotplug},
        {"multiplanar", Guest::testMultiplanar},
    };
    if (argc < 2) {
        std::printf("usage: %s GROUP...\n", argv[0]);
        return 2;
    }
    for (int i = 1; i < argc; ++i) {
        auto group = groups.find(argv[i]);
        if (group == groups.end()) {
            std::printf("unknown group '%s'\n", argv[i]);
            return 2;
        }
        const int before = Guest::failureCount();
        const long long start = Guest::monotonicMicroseconds();
        group->second();
        std::printf("%s %s (%.1f s)\n", Guest::failureCount() == before ? "PASS" : "FAIL", argv[i],
                    (Guest::monotonicMicroseconds() - start) / 1e6);
        std::fflush(stdout);
    }
    std::printf("%d checks, %d failed\n", Guest::checkCount(), Guest::failureCount());
    return Guest::failureCount() == 0 ? 0 : 1;
}
