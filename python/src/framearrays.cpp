#include "framearrays.h"

#include <algorithm>
#include <stdexcept>

namespace py = pybind11;

using Tarvello::FrameConverter;
using Tarvello::FrameLayout;
using Tarvello::JpegDecoder;
using Tarvello::PixelFormat;
using Tarvello::PixelLayout;

namespace TarvelloPython {

namespace {

// Enough for a loop that keeps the last frame or two while it takes the next.
constexpr size_t kRecentArrays = 3;

// The array of a raw frame holds its samples; a JPEG frame's, RGB.
PixelLayout arrayLayout(const PixelFormat& format)
{
    return format.isCompressed() ? PixelLayout::Rgb24 : PixelLayout::Samples;
}

} // namespace

FrameArrays::FrameArrays(FrameLayout layout, bool decode)
    : m_layout(std::move(layout)), m_decode(decode), m_converter(m_layout)
{
    if (m_decode && !hasArrayLayout(m_layout.fourcc))
        throw std::invalid_argument("format " + m_layout.fourcc
                                    + " has no array layout; stream it with decode=False for its bytes");
    if (m_layout.width <= 0 || m_layout.height <= 0)
        throw std::invalid_argument("format " + m_layout.fourcc + " reports no frame size");
}

bool FrameArrays::hasArrayLayout(const std::string& fourcc)
{
    return FrameConverter::canConvert(fourcc, arrayLayout(PixelFormat::of(fourcc)));
}

int FrameArrays::channels() const
{
    const PixelFormat& format = m_converter.format();
    return Tarvello::bytesPerPixel(arrayLayout(format), format.bytesPerPixel());
}

py::array_t<unsigned char> FrameArrays::newArray() const
{
    const py::ssize_t h = m_layout.height;
    const py::ssize_t w = m_layout.width;
    if (channels() == 1)
        return py::array_t<unsigned char>({h, w});
    return py::array_t<unsigned char>({h, w, py::ssize_t(channels())});
}

FrameArrays::Destination FrameArrays::prepare()
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

void FrameArrays::fill(const unsigned char* data, size_t size, Destination& destination)
{
    if (!m_decode) {
        destination.bytes.assign(data, data + size);
        return;
    }
    const PixelFormat& format = m_converter.format();
    if (format.isCompressed()) {
        JpegDecoder::Header header;
        if (!m_converter.readJpegHeader(data, size, &header, &destination.problem))
            return;
        // A picture of another size than the stream's is damaged or not
        // ours; its header is not trusted with an allocation.
        if (header.width != m_layout.width || header.height != m_layout.height) {
            destination.problem = "the JPEG picture claims " + std::to_string(header.width) + "x"
                                  + std::to_string(header.height) + ", the stream's size is "
                                  + std::to_string(m_layout.width) + "x" + std::to_string(m_layout.height);
            return;
        }
    }
    const Tarvello::PictureBuffer picture{destination.pixels, m_layout.width, m_layout.height,
                                          (long long)m_layout.width * channels(), arrayLayout(format)};
    m_converter.convert(data, size, picture, &destination.problem);
}

void FrameArrays::finish(Destination& destination, Frame& frame)
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
