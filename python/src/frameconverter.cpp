#include "frameconverter.h"

#include <cstring>
#include <stdexcept>

namespace py = pybind11;

namespace TarvelloPython {

namespace {

bool isBayer8(const std::string& fourcc)
{
    return fourcc == "GRBG" || fourcc == "GBRG" || fourcc == "RGGB" || fourcc == "BA81";
}

} // namespace

FrameConverter::FrameConverter(Layout layout, bool decode) : m_layout(std::move(layout)), m_decode(decode)
{
    if (m_decode && !hasArrayLayout(m_layout.fourcc))
        throw std::invalid_argument("format " + m_layout.fourcc
                                    + " has no array layout; stream it with decode=False for its bytes");
    if (m_layout.width <= 0 || m_layout.height <= 0)
        throw std::invalid_argument("format " + m_layout.fourcc + " reports no frame size");
}

bool FrameConverter::hasArrayLayout(const std::string& fourcc)
{
    return fourcc == "RGB3" || fourcc == "BGR3" || fourcc == "YUYV" || fourcc == "MJPG" || fourcc == "JPEG"
           || isBayer8(fourcc);
}

bool FrameConverter::isJpeg() const
{
    return m_layout.fourcc == "MJPG" || m_layout.fourcc == "JPEG";
}

int FrameConverter::channels() const
{
    if (isBayer8(m_layout.fourcc))
        return 1;
    if (m_layout.fourcc == "YUYV")
        return 2;
    return 3;
}

FrameConverter::Destination FrameConverter::prepare() const
{
    Destination destination;
    if (!m_decode)
        return destination;
    const py::ssize_t h = m_layout.height;
    const py::ssize_t w = m_layout.width;
    if (channels() == 1)
        destination.array = py::array_t<unsigned char>({h, w});
    else
        destination.array = py::array_t<unsigned char>({h, w, py::ssize_t(channels())});
    destination.pixels = destination.array.mutable_data();
    return destination;
}

void FrameConverter::fill(const unsigned char* data, size_t size, Destination& destination)
{
    if (!m_decode) {
        destination.spill.assign(data, data + size);
        return;
    }
    if (isJpeg()) {
        try {
            const JpegDecoder::Size picture = m_jpeg.size(data, size);
            if (picture.width == m_layout.width && picture.height == m_layout.height) {
                m_jpeg.decode(data, size, picture, destination.pixels);
                destination.filled = true;
            } else {
                // A picture of another size than the format promised: decoded
                // later into an array of its own size.
                destination.spill.assign(data, data + size);
            }
        } catch (const JpegDecoder::Error& error) {
            destination.problem = error.what();
        }
        return;
    }
    const size_t rowBytes = size_t(m_layout.width) * size_t(channels());
    const size_t stride = m_layout.bytesPerLine > 0 ? size_t(m_layout.bytesPerLine) : rowBytes;
    const size_t needed = stride * size_t(m_layout.height - 1) + rowBytes;
    if (stride < rowBytes || size < needed) {
        destination.problem = "a " + std::to_string(m_layout.width) + "x" + std::to_string(m_layout.height) + " "
                              + m_layout.fourcc + " frame needs " + std::to_string(needed) + " bytes, this one has "
                              + std::to_string(size);
        return;
    }
    if (stride == rowBytes) {
        std::memcpy(destination.pixels, data, needed);
    } else {
        for (int y = 0; y < m_layout.height; ++y)
            std::memcpy(destination.pixels + size_t(y) * rowBytes, data + size_t(y) * stride, rowBytes);
    }
    destination.filled = true;
}

void FrameConverter::finish(Destination& destination, Frame& frame)
{
    frame.format = m_layout.fourcc;
    frame.width = m_layout.width;
    frame.height = m_layout.height;
    frame.array = py::none();
    frame.data = py::none();
    if (!destination.problem.empty())
        throw std::invalid_argument("frame " + std::to_string(frame.number) + ": " + destination.problem);
    if (!m_decode) {
        frame.data = py::bytes(reinterpret_cast<const char*>(destination.spill.data()), destination.spill.size());
        return;
    }
    if (!destination.filled) {
        // Only a JPEG picture of an unexpected size gets here.
        try {
            const JpegDecoder::Size picture = m_jpeg.size(destination.spill.data(), destination.spill.size());
            py::array_t<unsigned char> array({py::ssize_t(picture.height), py::ssize_t(picture.width), py::ssize_t(3)});
            unsigned char* out = array.mutable_data();
            {
                py::gil_scoped_release released;
                m_jpeg.decode(destination.spill.data(), destination.spill.size(), picture, out);
            }
            destination.array = array;
            frame.width = picture.width;
            frame.height = picture.height;
        } catch (const JpegDecoder::Error& error) {
            throw std::invalid_argument("frame " + std::to_string(frame.number) + ": " + error.what());
        }
    }
    frame.array = std::move(destination.array);
}

} // namespace TarvelloPython
