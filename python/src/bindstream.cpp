// Frames and streams.
#include "bindings.h"

#include "framestream.h"
#include "pycamera.h"

#include <jpegdecoder.h>

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <string>

namespace py = pybind11;

namespace TarvelloPython {

namespace {

std::string frameRepr(const Frame& frame)
{
    return "<tarvello.Frame " + std::to_string(frame.number) + " " + frame.format + " "
           + std::to_string(frame.width) + "x" + std::to_string(frame.height) + ">";
}

py::array_t<unsigned char> decodeJpeg(const py::bytes& data)
{
    const std::string_view bytes = data;
    Tarvello::FrameConverter converter(Tarvello::FrameLayout{"JPEG", 0, 0, 0});
    const auto* start = reinterpret_cast<const unsigned char*>(bytes.data());
    Tarvello::JpegDecoder::Header header;
    std::string problem;
    if (!converter.readJpegHeader(start, bytes.size(), &header, &problem))
        throw py::value_error(problem);
    py::array_t<unsigned char> array({py::ssize_t(header.height), py::ssize_t(header.width), py::ssize_t(3)});
    const Tarvello::PictureBuffer picture{array.mutable_data(), header.width, header.height, 3LL * header.width,
                                          Tarvello::PixelLayout::Rgb24};
    bool decoded = false;
    {
        py::gil_scoped_release released;
        decoded = converter.convert(start, bytes.size(), picture, &problem);
    }
    if (!decoded)
        throw py::value_error(problem);
    return array;
}

} // namespace

void bindStream(py::module_& module)
{
    py::class_<Frame>(module, "Frame",
                      "One frame, copied out of the camera layer's buffer: it stays valid for as long as "
                      "Python keeps it.")
        .def_readonly("number", &Frame::number, "The camera's frame number (sequence).")
        .def_readonly("timestamp", &Frame::timestamp,
                      "Capture time in seconds (monotonic clock of the camera layer).")
        .def_readonly("format", &Frame::format, "Four-character code of the pixel format, such as 'RGB3'.")
        .def_readonly("width", &Frame::width, "Width of the picture in pixels.")
        .def_readonly("height", &Frame::height, "Height of the picture in pixels.")
        .def_readonly("array", &Frame::array,
                      "The picture as a numpy uint8 array, or None when the stream does not decode:\n"
                      "RGB3: height x width x 3, red, green, blue.\n"
                      "BGR3: height x width x 3 holding the camera's bytes as they are, in the order\n"
                      "      blue, green, red (array[..., ::-1] gives RGB).\n"
                      "GRBG and other 8-bit Bayer formats: height x width, the raw mosaic.\n"
                      "YUYV: height x width x 2, the raw Y and U/V bytes.\n"
                      "MJPG: decoded with libjpeg-turbo to height x width x 3 RGB.")
        .def_readonly("data", &Frame::data,
                      "The frame's bytes as the camera delivered them (compressed for MJPG), or None "
                      "when the stream decodes.")
        .def("__repr__", &frameRepr);

    py::class_<FrameStream>(module, "Stream",
                            "A running stream of one camera (made by Camera.stream). A context manager and an "
                            "iterator of Frame objects:\n\n"
                            "    with cam.stream(fmt='RGB3', size=(1280, 720), interval=(1, 30)) as s:\n"
                            "        for frame in s:\n"
                            "            ...\n\n"
                            "Waiting for a frame releases the GIL. When no frame comes within the timeout, "
                            "TimeoutError is raised; when the camera is unplugged, CameraGone. Leaving the "
                            "with block (or close()) stops the stream.")
        .def("__enter__", [](FrameStream& stream) -> FrameStream& { return stream; },
             py::return_value_policy::reference_internal, "Returns the stream itself.")
        .def("__exit__", [](FrameStream& stream, py::args) { stream.close(); }, "Stops the stream.")
        .def("__iter__", [](FrameStream& stream) -> FrameStream& { return stream; },
             py::return_value_policy::reference_internal, "Returns the stream itself.")
        .def(
            "__next__",
            [](FrameStream& stream) {
                std::optional<Frame> frame = stream.next();
                if (!frame)
                    throw py::stop_iteration();
                return std::move(*frame);
            },
            "The next frame; StopIteration once the stream is closed.")
        .def("next", &FrameStream::next,
             "The next frame, or None once the stream is closed. Raises TimeoutError when none comes in "
             "time and CameraGone when the camera was unplugged.")
        .def("close", &FrameStream::close,
             "Stops the stream and gives the camera's buffers back. A thread waiting in next() at that "
             "moment wakes and ends its iteration.")
        .def_property_readonly("closed", [](const FrameStream& stream) { return !stream.isOpen(); },
                               "True once the stream is stopped.")
        .def_property_readonly("format", [](const FrameStream& stream) { return stream.layout().fourcc; },
                               "Four-character code of the streamed pixel format.")
        .def_property_readonly(
            "size", [](const FrameStream& stream) { return std::make_pair(stream.layout().width, stream.layout().height); },
            "Frame size (width, height) of the stream.");

    module.def("decode_jpeg", &decodeJpeg, py::arg("data"),
               "Decodes a JPEG picture (such as Frame.data of an MJPG stream opened with decode=False) to a "
               "height x width x 3 RGB numpy array. Raises ValueError for data that is not a JPEG picture.");
}

} // namespace TarvelloPython
