#pragma once

namespace ImageAcquisition {

// Where the parts of the test picture sit for a frame size. The static
// scene and the moving overlay both place themselves by it.
struct SceneLayout
{
    SceneLayout(int width, int height);

    int width;
    int height;
    int unit;          // pixels per font dot of the small text
    int barsBottom;    // colour bars (or the chosen pattern) above this row
    int rampBottom;    // grey ramp between barsBottom and this row
    int laneBottom;    // lane of the moving marker, above the info strip
    int infoTop;       // info strip to the bottom
    int targetX;       // focus target: centre and radius
    int targetY;
    int targetRadius;
    int markerSize;
    int markerMinX;
    int markerMaxX;
    int markerY;
};

} // namespace ImageAcquisition
