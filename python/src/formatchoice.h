#pragma once

#include <optional>
#include <string>
#include <utility>

namespace ImageAcquisition {
class ICamera;
}

namespace TarvelloPython {

// Turns a pixel format, frame size and frame interval given by value into
// the camera's indexes. What is not given keeps the current choice when
// the camera offers it under the new choices, else the first offered.
// Throws std::invalid_argument naming what the camera offers instead.
class FormatChoice
{
public:
    using Size = std::pair<unsigned, unsigned>;
    using Interval = std::pair<int, int>;

    FormatChoice(ImageAcquisition::ICamera& camera, const std::optional<std::string>& fourcc,
                 const std::optional<Size>& size, const std::optional<Interval>& interval);

    int formatIndex = 0;
    int resolutionIndex = 0;
    int intervalIndex = 0;
};

} // namespace TarvelloPython
