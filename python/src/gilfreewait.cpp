#include "gilfreewait.h"

#include <pybind11/pybind11.h>

#include <algorithm>

namespace py = pybind11;

namespace TarvelloPython {

bool GilFreeWait::until(Clock::time_point deadline, const std::function<bool()>& attempt,
                        const std::function<void(Clock::duration)>& pause)
{
    for (;;) {
        {
            py::gil_scoped_release released;
            const Clock::time_point signalCheck = Clock::now() + kSignalCheckPeriod;
            for (;;) {
                if (attempt())
                    return true;
                const Clock::time_point now = Clock::now();
                if (now >= deadline)
                    return false;
                if (now >= signalCheck)
                    break;
                pause(std::min(deadline, signalCheck) - now);
            }
        }
        if (PyErr_CheckSignals() != 0)
            throw py::error_already_set();
    }
}

} // namespace TarvelloPython
