// The guest test program: runs in the throw-away virtual machine against the
// kernel's vivid driver, through the calls the application makes.
// Usage: v4l2-guest-test GROUP...

#include "guest.h"

#include <cstdlib>
#include <map>

using namespace ImageAcquisition;

namespace Guest {

int failures = 0;

} // namespace Guest

int main(int argc, char** argv)
{
    ::setenv("IMAGEACQUISITION_VIRTUAL_CAMERAS", "0", 1);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const std::map<std::string, void (*)()> groups = {
        {"enumeration", Guest::testEnumeration},
        {"multiplanar", Guest::testMultiplanar},
        {"formats", [] { Guest::testFormats(false); }},
        {"emulated", [] { Guest::testFormats(true); }},
        {"streaming", Guest::testStreaming},
        {"controls", Guest::testControls},
        {"hotplug", Guest::testHotplug},
    };
    for (int i = 1; i < argc; ++i) {
        auto group = groups.find(argv[i]);
        if (group == groups.end()) {
            std::printf("unknown group '%s'\n", argv[i]);
            return 2;
        }
        const int before = Guest::failures;
        group->second();
        std::printf("%s %s\n", Guest::failures == before ? "PASS" : "FAIL", argv[i]);
    }
    return argc > 1 && Guest::failures == 0 ? 0 : 1;
}
