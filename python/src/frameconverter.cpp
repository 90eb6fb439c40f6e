#include "frameconverter.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace py = pybind11;

namespace TarvelloPython {

namespace {

// Enough for a loop that keeps the last frame or two while it takes the next.
constexpr size_t kRecentArrays = 3;

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

py::array_t<unsigned char> FrameConverter::newArray() const
{
    const py::ssize_t h = m_layout.height;
    const py::ssize_t w = m_layout.width;
    if (channels() == 1)
        return py::array_t<unsigned char>({h, w});
    return py::array_t<unsigned char>({h, w, py::ssize_t(channels())});
}

FrameConverter::Destination FrameConverter::prepare()
{
    Destination destination;
    if (!m_decode)
        return destination;
    const auto unheld = std::find_if(m_recent.begin(), m_recent.end(),
                                     [](const py::array_t<unsigned char>& recent) { return recent.ref_count() == 1; });
    if (unheld != m_recent.end()) {
        destination.pixels = unheld->mutable_data();
        destination.array = *unheld;
        return destination;
    }
    py::array_t<unsigned char> array = newArray();
    destination.pixels = array.mutable_data();
    // Every recent array is still held: the oldest is left to its holder.
    if (m_recent.size() < kRecentArrays) {
        m_recent.push_back(array);
    } else {
        m_recent[m_nextReplaced] = array;
        m_nextReplaced = (m_nextReplaced + 1) % kRecentArrays;
    }
    destination.array = std::move(array);
    return destination;
}

void FrameConverter::fill(const unsigned char* data, size_t size, Destination& destination)
{
    if (!m_decode) {
        destination.bytes.assign(data, data + size);
        return;
    }
    if (isJpeg()) {
        try {
            const JpegDecoder::Size picture = m_jpeg.size(data, size);
            // A picture of another size than the stream's is damaged or not
            // ours; its header is not trusted with an allocation.
            if (picture.width != m_layout.width || picture.height != m_layout.height) {
                destination.problem = "the JPEG picture claims " + std::to_string(picture.width) + "x"
                                      + std::to_string(picture.height) + ", the stream's size is "
                                      + std::to_string(m_layout.width) + "x" + std::to_string(m_layout.height);
                return;
            }
            m_jpeg.decode(data, size, picture, destination.pixels);
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
        frame.data = py::bytes(reinterpret_cast<const char*>(destination.bytes.data()), destination.bytes.size());
        return;
    }
    frame.array = std::move(destination.array);
}

} // namespace TarvelloPython
