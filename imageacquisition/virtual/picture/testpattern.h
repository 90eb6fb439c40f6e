#pragma once

#include "rgbimage.h"
#include "scenelayout.h"

namespace ImageAcquisition {

// The still part of the test picture: a pattern (colour bars, a grey ramp
// or a checkerboard), a grey ramp strip, the marker's lane with a focus
// target whose fine rings fade as the lens leaves focus, and the info strip.
class TestPattern
{
public:
    enum Pattern
    {
        ColourBars = 0,
        GreyRamp = 1,
        Checkerboard = 2,
    };

    // defocus: distance of the lens from sharp focus (0 = sharp).
    static void render(int pattern, int defocus, const SceneLayout& layout, RgbImage& image);

private:
    static void fillRows(RgbImage& image, int top, int bottom, const Rgb& colour);
    static void drawPattern(int pattern, const SceneLayout& layout, RgbImage& image);
    static void drawRamp(const SceneLayout& layout, RgbImage& image);
    static void drawLane(const SceneLayout& layout, RgbImage& image);
    static void drawFocusTarget(int defocus, const SceneLayout& layout, RgbImage& image);
};

} // namespace ImageAcquisition
