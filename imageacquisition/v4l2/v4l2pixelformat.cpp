#include "v4l2pixelformat.h"

#include <utility>

namespace ImageAcquisition {

V4l2PixelFormat::V4l2PixelFormat(std::uint32_t fourcc, bool compressed, bool emulated,
                                 std::vector<V4l2Resolution> resolutions)
    : m_fourcc(fourcc), m_text(fourccText(fourcc)), m_compressed(compressed),
      m_emulated(emulated), m_resolutions(std::move(resolutions))
{
}

std::string V4l2PixelFormat::fourccText(std::uint32_t fourcc)
{
    std::string text;
    for (int i = 0; i < 4; ++i) {
        char c = static_cast<char>((fourcc >> (8 * i)) & (i == 3 ? 0x7f : 0xff));
        text += (c >= 0x20 && c < 0x7f) ? c : '?';
    }
    while (!text.empty() && text.back() == ' ')
        text.pop_back();
    if (fourcc & (1u << 31))
        text += "-BE";
    return text;
}

int V4l2PixelFormat::getResolutionCount() const
{
    return static_cast<int>(m_resolutions.size());
}

IResolution* V4l2PixelFormat::getResolution(int index)
{
    return resolution(index);
}

V4l2Resolution* V4l2PixelFormat::resolution(int index)
{
    if (index < 0 || index >= getResolutionCount())
        return nullptr;
    return &m_resolutions[static_cast<std::size_t>(index)];
}

int V4l2PixelFormat::findResolution(unsigned width, unsigned height) const
{
    for (std::size_t i = 0; i < m_resolutions.size(); ++i) {
        if (m_resolutions[i].getWidth() == width && m_resolutions[i].getHeight() == height)
            return static_cast<int>(i);
    }
    return -1;
}

} // namespace ImageAcquisition
