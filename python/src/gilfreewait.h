#pragma once

#include <chrono>
#include <functional>

namespace TarvelloPython {

// Waits for a condition with the GIL released, so that other Python threads
// run meanwhile, while still answering Ctrl-C: the GIL is taken back every
// so often to let Python handle pending signals (a KeyboardInterrupt then
// leaves the wait as pybind11::error_already_set).
class GilFreeWait
{
public:
    using Clock = std::chrono::steady_clock;

    // Calls attempt() with the GIL released until it returns true or the
    // deadline passes; between attempts pause(limit) blocks for at most
    // limit (on a condition variable, a sleep: never a busy loop). Returns
    // false at the deadline.
    static bool until(Clock::time_point deadline, const std::function<bool()>& attempt,
                      const std::function<void(Clock::duration)>& pause);

    // How long the GIL may stay released before signals are looked at.
    static constexpr std::chrono::milliseconds kSignalCheckPeriod{100};
};

} // namespace TarvelloPython
