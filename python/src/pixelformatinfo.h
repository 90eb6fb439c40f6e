#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace ImageAcquisition {
class IPixelFormat;
}

namespace TarvelloPython {

// One pixel format of a camera with its sizes and, for each size, its frame
// intervals, copied out of the layer.
struct PixelFormatInfo
{
    using Size = std::pair<unsigned, unsigned>;
    using Interval = std::pair<int, int>;

    std::string fourcc;
    std::string description;
    bool compressed = false;
    bool emulated = false;
    std::vector<Size> sizes;
    std::map<Size, std::vector<Interval>> intervals;

    static PixelFormatInfo of(ImageAcquisition::IPixelFormat& format);
};

} // namespace TarvelloPython
