#pragma once

#include "v4l2resolution.h"

#include <imageacquisition/ipixelformat.h>

#include <cstdint>
#include <string>
#include <vector>

namespace ImageAcquisition {

class V4l2PixelFormat : public IPixelFormat
{
public:
    V4l2PixelFormat(std::uint32_t fourcc, bool compressed, bool emulated,
                    std::vector<V4l2Resolution> resolutions);

    // The code as text: "RGB3", "MJPG"; trailing blanks dropped ("Y8  " is
    // "Y8"), a big-endian variant marked "-BE".
    static std::string fourccText(std::uint32_t fourcc);

    bool isCompressed() const override { return m_compressed; }
    bool isEmulated() const override { return m_emulated; }
    const char* getFourCC() const override { return m_text.c_str(); }
    // The code again: the application picks its preferred formats by this
    // text ("RGB3", "BGR3"), and the driver's own descriptions differ from
    // driver to driver for the same format.
    const char* getDescription() const override { return m_text.c_str(); }
    int getResolutionCount() const override;
    IResolution* getResolution(int index) override;

    std::uint32_t fourcc() const { return m_fourcc; }
    V4l2Resolution* resolution(int index);
    // Index of the resolution of that size, or -1.
    int findResolution(unsigned width, unsigned height) const;

private:
    std::uint32_t m_fourcc;
    std::string m_text;
    bool m_compressed;
    bool m_emulated;
    std::vector<V4l2Resolution> m_resolutions;
};

} // namespace ImageAcquisition
