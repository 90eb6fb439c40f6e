// tarvello._native._testing: the virtual cameras' plug and unplug calls,
// and the conversion of given bytes as a stream's frame, for tests and
// demonstrations only (tarvello/_testing.py re-exports them).
#include "bindings.h"

#include "framearrays.h"

#include <imageacquisition/virtualcameras.h>

#include <string_view>

namespace py = pybind11;

namespace TarvelloPython {

namespace {

// The array a stream of that format would give for a frame of these bytes.
py::object convert(const std::string& fourcc, int width, int height, int bytesPerLine, const py::bytes& data)
{
    FrameArrays arrays(Tarvello::FrameLayout{fourcc, width, height, bytesPerLine}, true);
    FrameArrays::Destination destination = arrays.prepare();
    const std::string_view bytes = data;
    arrays.fill(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), destination);
    Frame frame;
    arrays.finish(destination, frame);
    return frame.array;
}

} // namespace

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
    testing.def("convert", &convert, py::arg("fourcc"), py::arg("width"), py::arg("height"),
                py::arg("bytes_per_line"), py::arg("data"),
                "The array a stream of that format gives for a frame holding data; ValueError as the "
                "stream raises it.");
}

} // namespace TarvelloPython
