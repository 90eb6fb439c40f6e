#include "formatchoice.h"

#include <imageacquisition/imageacquisition.h>

#include <stdexcept>

namespace TarvelloPython {

using namespace ImageAcquisition;

namespace {

std::string text(const char* value)
{
    return value ? value : "";
}

std::string sizeText(const IResolution& resolution)
{
    return std::to_string(resolution.getWidth()) + "x" + std::to_string(resolution.getHeight());
}

std::string intervalText(const IFrameInterval& interval)
{
    return std::to_string(interval.getNumerator()) + "/" + std::to_string(interval.getDenominator());
}

FormatChoice::Size sizeOf(const IResolution& resolution)
{
    return {resolution.getWidth(), resolution.getHeight()};
}

FormatChoice::Interval intervalOf(const IFrameInterval& interval)
{
    return {interval.getNumerator(), interval.getDenominator()};
}

} // namespace

FormatChoice::FormatChoice(ICamera& camera, const std::optional<std::string>& fourcc,
                           const std::optional<Size>& size, const std::optional<Interval>& interval)
{
    // What is in force now, so that unnamed parts can stay as they are.
    IPixelFormat* current = camera.getFormat(camera.getCurrentFormatIndex());
    IResolution* currentResolution = current ? current->getResolution(camera.getCurrentResolutionIndex()) : nullptr;
    IFrameInterval* currentInterval =
        currentResolution ? currentResolution->getFrameInterval(camera.getCurrentFrameIntervalIndex()) : nullptr;
    const std::string wantedFourcc = fourcc ? *fourcc : current ? text(current->getFourCC()) : std::string();
    std::optional<Size> wantedSize = size;
    if (!wantedSize && currentResolution)
        wantedSize = sizeOf(*currentResolution);
    std::optional<Interval> wantedInterval = interval;
    if (!wantedInterval && currentInterval)
        wantedInterval = intervalOf(*currentInterval);

    std::string offered;
    IPixelFormat* format = nullptr;
    for (int i = 0; i < camera.getFormatCount() && !format; ++i) {
        IPixelFormat* candidate = camera.getFormat(i);
        if (!candidate)
            continue;
        offered += (offered.empty() ? "" : ", ") + text(candidate->getFourCC());
        if (text(candidate->getFourCC()) == wantedFourcc) {
            format = candidate;
            formatIndex = i;
        }
    }
    if (!format)
        throw std::invalid_argument("the camera has no format '" + wantedFourcc + "' (it has " + offered + ")");

    offered.clear();
    IResolution* resolution = nullptr;
    for (int i = 0; i < format->getResolutionCount(); ++i) {
        IResolution* candidate = format->getResolution(i);
        if (!candidate)
            continue;
        offered += (offered.empty() ? "" : ", ") + sizeText(*candidate);
        if (!resolution && wantedSize && sizeOf(*candidate) == *wantedSize) {
            resolution = candidate;
            resolutionIndex = i;
        }
    }
    if (!resolution && !size && format->getResolutionCount() > 0) {
        // The size in force is not offered in the new format: the first one is.
        resolution = format->getResolution(0);
        resolutionIndex = 0;
    }
    if (!resolution)
        throw std::invalid_argument("format " + wantedFourcc + " has no size " + std::to_string(size ? size->first : 0)
                                    + "x" + std::to_string(size ? size->second : 0) + " (it has " + offered + ")");

    offered.clear();
    IFrameInterval* chosen = nullptr;
    for (int i = 0; i < resolution->getFrameIntervalCount(); ++i) {
        IFrameInterval* candidate = resolution->getFrameInterval(i);
        if (!candidate)
            continue;
        offered += (offered.empty() ? "" : ", ") + intervalText(*candidate);
        if (!chosen && wantedInterval && intervalOf(*candidate) == *wantedInterval) {
            chosen = candidate;
            intervalIndex = i;
        }
    }
    if (!chosen && !interval && resolution->getFrameIntervalCount() > 0) {
        // The interval in force is not offered at the new size: the first one is.
        chosen = resolution->getFrameInterval(0);
        intervalIndex = 0;
    }
    if (!chosen)
        throw std::invalid_argument("format " + wantedFourcc + " at " + sizeText(*resolution) + " has no interval "
                                    + std::to_string(interval ? interval->first : 0) + "/"
                                    + std::to_string(interval ? interval->second : 0) + " (it has " + offered + ")");
}

} // namespace TarvelloPython
