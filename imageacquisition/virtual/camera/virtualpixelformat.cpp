#include "virtualpixelformat.h"

namespace ImageAcquisition {

VirtualPixelFormat::VirtualPixelFormat(std::string fourcc, std::string description, Encoding encoding,
                                       bool compressed, bool emulated)
    : m_fourcc(std::move(fourcc)),
      m_description(std::move(description)),
      m_encoding(encoding),
      m_compressed(compressed),
      m_emulated(emulated)
{
}

int VirtualPixelFormat::getResolutionCount() const
{
    return static_cast<int>(m_resolutions.size());
}

IResolution* VirtualPixelFormat::getResolution(int index)
{
    return resolution(index);
}

void VirtualPixelFormat::addResolution(std::unique_ptr<VirtualResolution> resolution)
{
    m_resolutions.push_back(std::move(resolution));
}

VirtualResolution* VirtualPixelFormat::resolution(int index)
{
    if (index < 0 || index >= getResolutionCount())
        return nullptr;
    return m_resolutions[static_cast<size_t>(index)].get();
}

} // namespace ImageAcquisition
