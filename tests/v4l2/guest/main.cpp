// Runs the named groups of tests against vivid. Usage: v4l2-guest-test GROUP...

#include "guest.h"

#include <cstdlib>

int Guest::failures = 0;

int main(int argc, char** argv)
{
    ::setenv("IMAGEACQUISITION_VIRTUAL_CAMERAS", "0", 1);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    for (int i = 1; i < argc; ++i) {
        auto group = Guest::groups().find(argv[i]);
        if (group == Guest::groups().end()) {
            std::printf("unknown group '%s'\n", argv[i]);
            return 2;
        }
        const int before = Guest::failures;
        group->second();
        std::printf("%s %s\n", Guest::failures == before ? "PASS" : "FAIL", argv[i]);
    }
    return argc > 1 && Guest::failures == 0 ? 0 : 1;
}
