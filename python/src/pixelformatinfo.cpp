#include "pixelformatinfo.h"

#include <imageacquisition/imageacquisition.h>

namespace TarvelloPython {

using namespace ImageAcquisition;

PixelFormatInfo PixelFormatInfo::of(IPixelFormat& format)
{
    PixelFormatInfo info;
    info.fourcc = format.getFourCC() ? format.getFourCC() : "";
    info.description = format.getDescription() ? format.getDescription() : "";
    info.compressed = format.isCompressed();
    info.emulated = format.isEmulated();
    for (int r = 0; r < format.getResolutionCount(); ++r) {
        IResolution* resolution = format.getResolution(r);
        if (!resolution)
            continue;
        const Size size{resolution->getWidth(), resolution->getHeight()};
        info.sizes.push_back(size);
        std::vector<Interval>& intervals = info.intervals[size];
        for (int i = 0; i < resolution->getFrameIntervalCount(); ++i) {
            if (IFrameInterval* interval = resolution->getFrameInterval(i))
                intervals.emplace_back(interval->getNumerator(), interval->getDenominator());
        }
    }
    return info;
}

} // namespace TarvelloPython
