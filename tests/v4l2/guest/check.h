#pragma once

// A small self-contained check harness for the guest test program, which
// runs in a minimal virtual machine without Qt. Every failed check prints
// one line; the program's exit status is the number of failures (capped).

#include <sstream>
#include <string>

namespace Guest {

void recordCheck(bool passed, const char* expression, const char* file, int line,
                 const std::string& detail);
int failureCount();
int checkCount();

template <typename A, typename B>
std::string describePair(const A& actual, const B& expected)
{
    std::ostringstream text;
    text << "got '" << actual << "', expected '" << expected << "'";
    return text.str();
}

} // namespace Guest

#define CHECK(cond) ::Guest::recordCheck(static_cast<bool>(cond), #cond, __FILE__, __LINE__, "")
#define CHECK_MSG(cond, detail)                                                                    \
    ::Guest::recordCheck(static_cast<bool>(cond), #cond, __FILE__, __LINE__, (detail))
#define CHECK_EQ(actual, expected)                                                                 \
    do {                                                                                           \
        const auto& guestActual = (actual);                                                        \
        const auto& guestExpected = (expected);                                                    \
        ::Guest::recordCheck(guestActual == guestExpected, #actual " == " #expected, __FILE__,     \
                             __LINE__, ::Guest::describePair(guestActual, guestExpected));         \
    } while (0)
