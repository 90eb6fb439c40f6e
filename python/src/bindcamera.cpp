// Listing and opening cameras, their formats, controls and profiles.
#include "bindings.h"

#include "cameragone.h"
#include "camerainfo.h"
#include "cameraprofile.h"
#include "framestream.h"
#include "pycamera.h"
#include "pycontrol.h"

#include <badinput.h>
#include <cameracontrols.h>
#include <imageacquisition/imageacquisition.h>
#include <offeredformat.h>

#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <QStringList>

#include <filesystem>
#include <limits>
#include <optional>

namespace py = pybind11;

namespace TarvelloPython {

using namespace ImageAcquisition;
using Tarvello::OfferedFormat;

namespace {

using Size = Tarvello::FormatChoice::Size;
using Interval = Tarvello::FormatChoice::Interval;

std::vector<std::string> toStrings(const QStringList& list)
{
    std::vector<std::string> strings;
    for (const QString& text : list)
        strings.push_back(text.toStdString());
    return strings;
}

std::string selectorText(const py::handle& selector)
{
    if (selector.is_none())
        return std::string();
    if (py::isinstance<py::bool_>(selector) || !(py::isinstance<py::int_>(selector) || py::isinstance<py::str>(selector)))
        throw std::invalid_argument("a camera selector is a str or an int");
    if (py::isinstance<py::int_>(selector) && selector < py::int_(0))
        throw std::invalid_argument("a camera index is 0 or more");
    return py::str(selector).cast<std::string>();
}

// Sizes arrive signed, so that (-640, 480) is a bad value, not a bad type.
using SizeArgument = std::pair<long long, long long>;

std::optional<Size> sizeOf(const std::optional<SizeArgument>& size)
{
    if (!size)
        return std::nullopt;
    const auto fits = [](long long pixels) { return pixels > 0 && pixels <= std::numeric_limits<int>::max(); };
    if (!fits(size->first) || !fits(size->second))
        throw std::invalid_argument("size is (width, height), each from 1 to 2147483647 pixels");
    return Size(unsigned(size->first), unsigned(size->second));
}

py::dict properties(const CameraInfo& info)
{
    py::dict dict;
    for (const auto& property : info.properties)
        dict[py::str(property.first)] = property.second;
    return dict;
}

std::vector<OfferedFormat> formatsOf(PyCamera& camera)
{
    const std::lock_guard<std::mutex> lock(camera.mutex());
    std::vector<OfferedFormat> formats;
    for (int i = 0; i < camera.camera().getFormatCount(); ++i) {
        if (IPixelFormat* format = camera.camera().getFormat(i))
            formats.push_back(OfferedFormat::of(*format));
    }
    return formats;
}

py::tuple currentFormat(PyCamera& camera)
{
    const std::lock_guard<std::mutex> lock(camera.mutex());
    IStreamingCamera& cam = camera.camera();
    IPixelFormat* format = cam.getFormat(cam.getCurrentFormatIndex());
    IResolution* resolution = format ? format->getResolution(cam.getCurrentResolutionIndex()) : nullptr;
    IFrameInterval* interval = resolution ? resolution->getFrameInterval(cam.getCurrentFrameIntervalIndex()) : nullptr;
    return py::make_tuple(format && format->getFourCC() ? format->getFourCC() : "",
                          resolution ? py::make_tuple(resolution->getWidth(), resolution->getHeight()) : py::tuple(),
                          interval ? py::make_tuple(interval->getNumerator(), interval->getDenominator()) : py::tuple());
}

std::vector<PyControl> controlsOf(const std::shared_ptr<PyCamera>& camera)
{
    std::vector<PyControl> controls;
    const std::lock_guard<std::mutex> lock(camera->mutex());
    for (int i = 0; i < camera->camera().getControlCount(); ++i) {
        if (ICameraControl* control = camera->camera().getControl(i))
            controls.emplace_back(camera, control);
    }
    return controls;
}

py::dict controlMap(const std::shared_ptr<PyCamera>& camera)
{
    py::dict map;
    for (PyControl& control : controlsOf(camera)) {
        const std::string name = control.describe().name.toStdString();
        map[py::str(name)] = py::cast(std::move(control));
    }
    return map;
}

PyControl findControl(const std::shared_ptr<PyCamera>& camera, const std::string& name)
{
    ICameraControl* control = nullptr;
    {
        const std::lock_guard<std::mutex> lock(camera->mutex());
        try {
            control = &Tarvello::CameraControls(camera->camera()).find(QString::fromStdString(name));
        } catch (const Tarvello::BadInput& error) {
            throw py::key_error(error.what());
        }
    }
    return PyControl(camera, control);
}

void setControls(PyCamera& camera, const py::dict& values)
{
    QVector<QPair<QString, QString>> assignments;
    for (const auto& item : values) {
        if (!py::isinstance<py::str>(item.first))
            throw std::invalid_argument("control names are str");
        const QString text = item.second.is_none() ? QString() : PyControl::valueText(item.second);
        assignments.append({QString::fromStdString(item.first.cast<std::string>()), text});
    }
    PyControl::writeAll(camera, assignments);
}

QByteArray readProfileSource(const py::object& source)
{
    // A str that looks like JSON is the profile itself (and a JSON array a
    // wrong one, not a file name); anything else names a file.
    if (py::isinstance<py::str>(source)) {
        const std::string text = source.cast<std::string>();
        const size_t first = text.find_first_not_of(" \t\r\n");
        if (first != std::string::npos && (text[first] == '{' || text[first] == '['))
            return QByteArray::fromStdString(text);
    }
    const py::bytes content = py::module_::import("pathlib").attr("Path")(source).attr("read_bytes")();
    return QByteArray::fromStdString(std::string(content));
}

// follow: None or False (end with CameraGone), True (as long as it takes)
// or seconds.
std::optional<double> followSeconds(const py::object& follow)
{
    if (follow.is_none() || (py::isinstance<py::bool_>(follow) && !follow.cast<bool>()))
        return std::nullopt;
    if (py::isinstance<py::bool_>(follow))
        return 0.0;
    if (!py::isinstance<py::int_>(follow) && !py::isinstance<py::float_>(follow))
        throw std::invalid_argument("follow must be None, True or a number of seconds");
    const double seconds = follow.cast<double>();
    if (!(seconds > 0.0) || !std::isfinite(seconds))
        throw std::invalid_argument("follow must be True or a positive number of seconds");
    return seconds;
}

std::unique_ptr<FrameStream> startStream(const std::shared_ptr<PyCamera>& camera, const std::optional<std::string>& fourcc,
                                         const std::optional<SizeArgument>& size, const std::optional<Interval>& interval,
                                         bool decode, double timeout, int buffers, const py::object& follow)
{
    const std::optional<double> seconds = followSeconds(follow);
    if (fourcc || size || interval)
        camera->setFormat(fourcc, sizeOf(size), interval);
    return std::make_unique<FrameStream>(camera, decode, timeout, buffers, seconds);
}

const char* const kFormatArgs =
    "fmt: four-character code such as 'RGB3', 'BGR3', 'GRBG' or 'MJPG'; size: (width, height); "
    "interval: (numerator, denominator) seconds, such as (1, 30). What is not given stays as it is "
    "when the camera offers it with the new choices, else the first offered is taken.";

} // namespace

void bindCamera(py::module_& module)
{
    py::class_<CameraInfo>(module, "CameraInfo",
                           "A camera present when cameras() was called: what selects it and what the "
                           "window's camera info dialog shows.")
        .def_property_readonly("index", [](const CameraInfo& i) { return i.entry.index; },
                               "Position in the device list; also a selector.")
        .def_property_readonly("name", [](const CameraInfo& i) { return i.entry.name.toStdString(); }, "Device name.")
        .def_property_readonly("node", [](const CameraInfo& i) { return i.entry.node.toStdString(); },
                               "System name, such as /dev/video0.")
        .def_property_readonly("serial", [](const CameraInfo& i) { return i.entry.serial.toStdString(); },
                               "Serial number; may be empty.")
        .def_property_readonly("bus_info", [](const CameraInfo& i) { return i.entry.busInfo.toStdString(); },
                               "Bus info (the USB port path).")
        .def_property_readonly("serial_line", [](const CameraInfo& i) { return i.entry.serialLine.toStdString(); },
                               "The camera's own serial line, such as /dev/ttyACM1; empty when it has none.")
        .def_property_readonly("vendor_id", [](const CameraInfo& i) { return i.entry.vendorId.toStdString(); },
                               "USB vendor id as four hex digits.")
        .def_property_readonly("product_id", [](const CameraInfo& i) { return i.entry.productId.toStdString(); },
                               "USB product id as four hex digits.")
        .def_property_readonly("is_kelvane", [](const CameraInfo& i) { return i.entry.kelvane; },
                               "True for one of Kelvane's own cameras.")
        .def_property_readonly("driver", [](const CameraInfo& i) { return i.property("Driver"); }, "Driver name.")
        .def_property_readonly("driver_version", [](const CameraInfo& i) { return i.property("Driver Version"); },
                               "Driver version.")
        .def_property_readonly("manufacturer", [](const CameraInfo& i) { return i.property("Manufacturer"); },
                               "Manufacturer.")
        .def_property_readonly("firmware_version", [](const CameraInfo& i) { return i.property("Firmware Version"); },
                               "Firmware version; may be empty.")
        .def_property_readonly("properties", &properties,
                               "Every property under the info dialog's labels ('Name', 'System Name', ..., "
                               "'Firmware Version'), flags as 'True' or 'False'.")
        .def("__repr__", [](const CameraInfo& i) { return "<tarvello.CameraInfo " + i.entry.summary().toStdString() + ">"; });

    module.def("cameras", &CameraInfo::present, "The cameras present now, as CameraInfo objects in list order.");

    py::class_<OfferedFormat>(module, "Format", "A pixel format a camera offers, with its sizes and intervals.")
        .def_readonly("fourcc", &OfferedFormat::fourcc, "Four-character code, such as 'MJPG'.")
        .def_readonly("description", &OfferedFormat::description, "The camera's description of the format.")
        .def_readonly("compressed", &OfferedFormat::compressed, "True for compressed formats (MJPG).")
        .def_readonly("emulated", &OfferedFormat::emulated, "True when converted in software, not by the device.")
        .def_readonly("sizes", &OfferedFormat::sizes, "Frame sizes as (width, height).")
        .def_readonly("intervals", &OfferedFormat::intervals,
                      "Frame intervals per size: {(width, height): [(numerator, denominator), ...]}.")
        .def("__repr__", [](const OfferedFormat& f) { return "<tarvello.Format " + f.fourcc + ">"; });

    py::class_<PyControl>(module, "Control",
                          "One control of an open camera. Properties read the camera layer's state; refresh() "
                          "re-reads the camera. Writing value checks kind, range, step, menu entries and "
                          "flags before anything reaches the camera: ValueError for bad values, Refused for "
                          "controls that cannot be written now or writes the camera refuses. Once the "
                          "camera is unplugged, refresh() and writes raise CameraGone; value keeps the last value read.")
        .def_property_readonly("name", [](const PyControl& c) { return c.describe().name.toStdString(); },
                               "Name, such as 'Exposure, Auto'.")
        .def_property_readonly("key", [](const PyControl& c) { return c.describe().key.toStdString(); },
                               "Name as an identifier, such as 'exposure_auto'.")
        .def_property_readonly("description", [](const PyControl& c) { return c.describe().description.toStdString(); },
                               "The camera's description; may be empty.")
        .def_property_readonly("kind", [](const PyControl& c) { return c.describe().kind.toStdString(); },
                               "'integer', 'integer64', 'boolean', 'button', 'menu', 'integer-menu', 'string', "
                               "or a kind without a value.")
        .def_property_readonly("family", [](const PyControl& c) { return c.describe().family.toStdString(); },
                               "The group of controls that depend on each other: 'user', 'camera', ..., "
                               "'kelvane'.")
        .def_property_readonly(
            "range",
            [](const PyControl& c) -> py::object {
                const Tarvello::ControlDescription d = c.describe();
                return d.hasRange ? py::make_tuple(d.minimum, d.maximum) : py::object(py::none());
            },
            "(minimum, maximum) inclusive for numbers, lengths in bytes for strings; None otherwise.")
        .def_property_readonly(
            "step",
            [](const PyControl& c) -> py::object {
                const Tarvello::ControlDescription d = c.describe();
                return d.hasRange ? py::object(py::int_(d.step)) : py::object(py::none());
            },
            "Step between valid numbers; None without a range.")
        .def_property_readonly("entries", [](const PyControl& c) { return toStrings(c.describe().entries); },
                               "A menu's entries in index order; empty for other kinds.")
        .def_property_readonly("flags", [](const PyControl& c) { return toStrings(c.describe().flagNames()); },
                               "Names of the flags set: 'read-only', 'inactive', 'disabled', 'grabbed'.")
        .def_property_readonly("read_only", [](const PyControl& c) { return c.describe().readOnly; }, "Read-only flag.")
        .def_property_readonly("inactive", [](const PyControl& c) { return c.describe().inactive; },
                               "True while an automatic mode governs the control.")
        .def_property_readonly(
            "index",
            [](const PyControl& c) -> py::object {
                const Tarvello::ControlDescription d = c.describe();
                const bool menu = d.kind == "menu" || d.kind == "integer-menu";
                return menu && d.hasValue() ? py::object(py::int_(d.value.toInt())) : py::object(py::none());
            },
            "A menu's current entry index; None for other kinds.")
        .def_property("value", &PyControl::value, &PyControl::setValue,
                      "The value: bool, int, str (a menu's entry text; an integer menu's entry), or None for "
                      "kinds without one. Takes bool, int or str (menus also take an entry index as '#2').")
        .def("press", &PyControl::press, "Presses a button control; ValueError for other kinds.")
        .def("refresh", &PyControl::refresh, "Re-reads value and flags from the camera.")
        .def("__repr__", [](const PyControl& c) {
            const Tarvello::ControlDescription d = c.describe();
            return "<tarvello.Control '" + d.name.toStdString() + "' " + d.kind.toStdString() + " = "
                   + d.valueText().toStdString() + ">";
        });

    py::class_<CameraProfile::Report>(module, "ProfileReport", "What loading a profile did (or would do).")
        .def_property_readonly("changes", [](const CameraProfile::Report& r) { return toStrings(r.changes); },
                               "One line per change, such as 'Brightness: 128 -> 140'.")
        .def_property_readonly("unchanged", [](const CameraProfile::Report& r) { return toStrings(r.unchanged); },
                               "Controls already at the stored value.")
        .def_property_readonly("notes", [](const CameraProfile::Report& r) { return toStrings(r.notes); },
                               "Remarks that did not stop the load, such as a profile saved on another camera.")
        .def_property_readonly("written", [](const CameraProfile::Report& r) { return toStrings(r.written); },
                               "The writes made; empty on a dry run.");

    py::class_<PyCamera, std::shared_ptr<PyCamera>>(module, "Camera",
                                                    "An open camera (made by open()). It closes when the last "
                                                    "reference to it, its controls and streams, is gone.")
        .def_property_readonly(
            "info",
            [](const PyCamera& c) {
                const std::lock_guard<std::mutex> lock(c.mutex());
                const IDevice* device = c.camera().getDevice();
                if (!device)
                    throw CameraGone(c.goneMessage());
                return CameraInfo::of(*device, c.entry().index);
            },
            "The camera's CameraInfo.")
        .def_property_readonly("formats", &formatsOf, "The pixel formats the camera offers, as Format objects.")
        .def_property_readonly("format", &currentFormat,
                               "The format in force: (fourcc, (width, height), (numerator, denominator)).")
        .def(
            "set_format",
            [](PyCamera& c, const std::optional<std::string>& fourcc, const std::optional<SizeArgument>& size,
               const std::optional<Interval>& interval) { c.setFormat(fourcc, sizeOf(size), interval); },
            py::arg("fmt") = py::none(), py::arg("size") = py::none(),
             py::arg("interval") = py::none(),
             (std::string("Chooses format, size and interval. ") + kFormatArgs
              + " ValueError names what the camera offers; Refused while a stream runs.")
                 .c_str())
        .def(
            "reset",
            [](PyCamera& c) {
                const std::lock_guard<std::mutex> lock(c.mutex());
                c.ensurePresent();
                c.camera().reset();
            },
            "Soft-resets the camera (allowed while streaming).")
        .def_property_readonly("controls", &controlMap, "The controls as a dict from name to Control.")
        .def("control", &findControl, py::arg("name"),
             "The control with this name or key (any case); KeyError when there is none.")
        .def("set_controls", &setControls, py::arg("values"),
             "Writes several controls, {name or key: value}, as one batch: all are checked first and "
             "nothing is written when any is bad; then written in family order, automatic modes first.")
        .def(
            "save_profile",
            [](PyCamera& c, const std::optional<std::filesystem::path>& path) {
                const QByteArray json = CameraProfile::save(c);
                if (path)
                    py::module_::import("pathlib").attr("Path")(*path).attr("write_bytes")(py::bytes(json.toStdString()));
                return json.toStdString();
            },
            py::arg("path") = py::none(),
            "The writable controls as a profile (JSON text, the format tarvello-ctl uses); also written "
            "to path when one is given.")
        .def(
            "load_profile",
            [](PyCamera& c, const py::object& source, bool dryRun) {
                return CameraProfile::load(c, readProfileSource(source), dryRun);
            },
            py::arg("source"), py::arg("dry_run") = false,
            "Loads a profile from a file path or from JSON text. The whole profile is checked first "
            "(ValueError or Refused, nothing written); with dry_run nothing is written at all. Returns a "
            "ProfileReport.")
        .def("stream", &startStream, py::arg("fmt") = py::none(), py::arg("size") = py::none(),
             py::arg("interval") = py::none(), py::arg("decode") = true, py::arg("timeout") = 5.0,
             py::arg("buffers") = 4, py::arg("follow") = py::none(),
             (std::string("Starts a Stream of Frame objects. ") + kFormatArgs
              + " decode=False gives each frame's delivered bytes (Frame.data) instead of an array. "
                "timeout: seconds to wait for each frame. buffers: the layer's buffer count. "
                "follow: when the camera is unplugged, wait for it (the same serial number) to come back, "
                "as long as it takes (True) or up to that many seconds, open it again in the same format "
                "(with the stored profile, if the camera was opened with it) and go on; the frame numbers "
                "start again. Without it, the stream ends with CameraGone.")
                 .c_str())
        .def(
            "grab",
            [](const std::shared_ptr<PyCamera>& camera, int count, const std::optional<std::string>& fourcc,
               const std::optional<SizeArgument>& size, const std::optional<Interval>& interval, bool decode, double timeout) {
                if (count < 0)
                    throw std::invalid_argument("count must not be negative");
                const std::unique_ptr<FrameStream> stream =
                    startStream(camera, fourcc, size, interval, decode, timeout, 4, py::none());
                std::vector<Frame> frames;
                while (int(frames.size()) < count)
                    frames.push_back(*stream->next());
                return frames;
            },
            py::arg("count") = 1, py::arg("fmt") = py::none(), py::arg("size") = py::none(),
            py::arg("interval") = py::none(), py::arg("decode") = true, py::arg("timeout") = 5.0,
            "Streams just long enough for count frames and returns them as a list; arguments as for stream().")
        .def("__repr__", [](const PyCamera& c) { return "<tarvello.Camera " + c.entry().summary().toStdString() + ">"; });

    module.def(
        "open",
        [](const py::object& selector, bool storedProfile) {
            return std::make_shared<PyCamera>(selectorText(selector), storedProfile);
        },
        py::arg("selector") = py::none(), py::kw_only(), py::arg("stored_profile") = true,
        "Opens a camera chosen as tarvello-ctl chooses: by index, device node (/dev/video2 or video2), "
        "serial number, bus info, or a unique part of its name (a number is an index or a serial number "
        "only); none (or '') picks the first of Kelvane's "
        "cameras, else the first camera. Raises CameraNotFound (listing the candidates) when the selector "
        "names no single camera, Refused when the camera cannot be opened. The camera's stored profile for "
        "this user ($XDG_CONFIG_HOME/tarvello/cameras/SERIAL.json, kept by 'tarvello-ctl profile store') is "
        "applied unless stored_profile is False; ValueError or Refused when it does not fit the camera.");
}

} // namespace TarvelloPython
