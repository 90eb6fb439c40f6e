#include "scenelayout.h"

#include <algorithm>

namespace ImageAcquisition {

SceneLayout::SceneLayout(int w, int h) : width(w), height(h)
{
    unit = std::max(1, h / 240);
    barsBottom = h * 58 / 100;
    rampBottom = h * 67 / 100;
    infoTop = h - 11 * unit;
    laneBottom = infoTop;
    const int lane = std::max(2, laneBottom - rampBottom);
    const int margin = std::max(2, lane / 10);
    targetRadius = std::max(1, lane / 2 - margin);
    targetX = w - margin - targetRadius;
    targetY = rampBottom + lane / 2;
    markerSize = std::max(4, lane * 6 / 10);
    markerY = rampBottom + (lane - markerSize) / 2;
    markerMinX = margin;
    markerMaxX = std::max(markerMinX, targetX - targetRadius - margin - markerSize);
}

} // namespace ImageAcquisition
