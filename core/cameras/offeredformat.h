#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace ImageAcquisition {
class IPixelFormat;
}

namespace Tarvello {

// One pixel format a camera offers, with its sizes and, for each size, its
// frame intervals, copied out of the layer.
struct OfferedFormat
{
    using Size = std::pair<unsigned, unsigned>;
    using Interval = std::pair<int, int>; // numerator, denominator in seconds

    std::string fourcc;
    std::string description;
    bool compressed = false;
    bool emulated = false;
    std::vector<Size> sizes;
    std::map<Size, std::vector<Interval>> intervals;

    static OfferedFormat of(ImageAcquisition::IPixelFormat& format);
};

} // namespace Tarvello
