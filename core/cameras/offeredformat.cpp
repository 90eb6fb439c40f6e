#include "offeredformat.h"

#include <imageacquisition/imageacquisition.h>

namespace Tarvello {

using namespace ImageAcquisition;

OfferedFormat OfferedFormat::of(IPixelFormat& format)
{
    OfferedFormat offered;
    offered.fourcc = format.getFourCC() ? format.getFourCC() : "";
    offered.description = format.getDescription() ? format.getDescription() : "";
    offered.compressed = format.isCompressed();
    offered.emulated = format.isEmulated();
    for (int r = 0; r < format.getResolutionCount(); ++r) {
        IResolution* resolution = format.getResolution(r);
        if (!resolution)
            continue;
        const Size size{resolution->getWidth(), resolution->getHeight()};
        offered.sizes.push_back(size);
        std::vector<Interval>& intervals = offered.intervals[size];
        for (int i = 0; i < resolution->getFrameIntervalCount(); ++i) {
            if (IFrameInterval* interval = resolution->getFrameInterval(i))
                intervals.emplace_back(interval->getNumerator(), interval->getDenominator());
        }
    }
    return offered;
}

} // namespace Tarvello
