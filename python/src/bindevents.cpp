// Cameras plugged in and out, as an iterator of events.
#include "bindings.h"

#include <cameraevents.h>
#include "gilfreewait.h"

#include <imageacquisition/icameraevent.h>

#include <pybind11/stl.h>

#include <cmath>
#include <optional>

namespace py = pybind11;

namespace TarvelloPython {

namespace {

using Clock = std::chrono::steady_clock;

// One report as Python sees it.
struct CameraEvent
{
    int type = 0;

    std::string kind() const
    {
        switch (type) {
        case ImageAcquisition::ICameraEvent::CameraAdded: return "added";
        case ImageAcquisition::ICameraEvent::CameraRemoved: return "removed";
        default: return "other";
        }
    }
};

// Waits for the next event; none at the deadline or once stopped.
std::optional<CameraEvent> nextEvent(Tarvello::CameraEvents& events, std::optional<double> timeout)
{
    if (timeout && !(*timeout >= 0.0 && std::isfinite(*timeout)))
        throw std::invalid_argument("timeout must be a number of seconds, not negative");
    // Without a timeout the wait lasts until an event comes or the watcher is closed.
    const Clock::time_point deadline =
        timeout ? Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(*timeout))
                : Clock::time_point::max();
    std::optional<int> type;
    GilFreeWait::until(
        deadline,
        [&] {
            type = events.take();
            return type.has_value() || !events.isWatching();
        },
        [&](Clock::duration limit) { events.waitFor(limit); });
    if (!type)
        return std::nullopt;
    return CameraEvent{*type};
}

} // namespace

void bindEvents(py::module_& module)
{
    py::class_<CameraEvent>(module, "CameraEvent", "A camera plugged in or out.")
        .def_property_readonly("kind", &CameraEvent::kind, "'added', 'removed', or 'other' for reports of other kinds.")
        .def_readonly("type", &CameraEvent::type, "The camera layer's event code (1 added, 2 removed).")
        .def("__repr__", [](const CameraEvent& e) { return "<tarvello.CameraEvent " + e.kind() + ">"; });

    py::class_<Tarvello::CameraEvents>(module, "CameraWatch",
                             "Reports of cameras plugged in or out from the moment watch() was called. The "
                             "camera layer's thread only queues them; they are delivered here, in the "
                             "calling thread. A context manager and an iterator:\n\n"
                             "    with tarvello.watch() as events:\n"
                             "        for event in events:\n"
                             "            print(event.kind, tarvello.cameras())\n\n"
                             "Waiting releases the GIL; iteration ends when the watch is closed.")
        .def("__enter__", [](Tarvello::CameraEvents& events) -> Tarvello::CameraEvents& { return events; },
             py::return_value_policy::reference_internal, "Returns the watch itself.")
        .def("__exit__", [](Tarvello::CameraEvents& events, py::args) { events.stop(); }, "Stops watching.")
        .def("__iter__", [](Tarvello::CameraEvents& events) -> Tarvello::CameraEvents& { return events; },
             py::return_value_policy::reference_internal, "Returns the watch itself.")
        .def(
            "__next__",
            [](Tarvello::CameraEvents& events) {
                std::optional<CameraEvent> event = nextEvent(events, std::nullopt);
                if (!event)
                    throw py::stop_iteration();
                return *event;
            },
            "The next event, waiting as long as it takes; StopIteration once closed.")
        .def("get", &nextEvent, py::arg("timeout") = py::none(),
             "The next event, or None when none comes within timeout seconds (None: wait until one comes "
             "or the watch is closed).")
        .def("close", &Tarvello::CameraEvents::stop, "Stops watching; a thread waiting for an event wakes.")
        .def_property_readonly("closed", [](const Tarvello::CameraEvents& events) { return !events.isWatching(); },
                               "True once the watch is closed.");

    module.def("watch", [] { return std::make_unique<Tarvello::CameraEvents>(); },
               "Starts watching for cameras plugged in or out and returns the CameraWatch.");
}

} // namespace TarvelloPython
