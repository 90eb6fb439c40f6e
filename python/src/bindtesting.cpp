// tarvello._native._testing: the virtual cameras' plug and unplug calls,
// for tests and demonstrations only (tarvello/_testing.py re-exports them).
#include "bindings.h"

#include <imageacquisition/virtualcameras.h>

namespace py = pybind11;

namespace TarvelloPython {

void bindTesting(py::module_& module)
{
    namespace Virtual = ImageAcquisition::VirtualCameras;
    py::module_ testing = module.def_submodule(
        "_testing", "For tests only: plugs virtual cameras in and out (IMAGEACQUISITION_VIRTUAL_CAMERAS sets how "
                    "many there are at first). Not part of the module's interface.");
    testing.def("count", &Virtual::count, "Number of virtual cameras plugged in now.");
    testing.def("plug", &Virtual::plug, "Plugs in one more virtual camera; returns its index among them.");
    testing.def("unplug", &Virtual::unplug, py::arg("index"),
                "Unplugs the virtual camera at index (0 .. count() - 1); False when there is none.");
    testing.def("serial_line_path", &Virtual::serialLinePath, py::arg("index"),
                "The pseudo-terminal the virtual camera at index talks on; empty when none.");
}

} // namespace TarvelloPython
