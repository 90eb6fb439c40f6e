#pragma once

#include "canvas.h"
#include "frameinfo.h"
#include "imagesettings.h"
#include "scenelayout.h"
#include "tonecurve.h"

namespace ImageAcquisition {

// The parts of the picture that change from frame to frame: the moving
// marker (lit like the rest of the scene), and the camera's burnt-in text:
// frame counter, clock, overlay text, link and temperature, errors, info.
class Overlay
{
public:
    static constexpr double kMarkerPeriodSeconds = 4.0;

    static void draw(Canvas& canvas, const SceneLayout& layout, const ToneCurve& tone,
                     const ImageSettings& settings, const FrameInfo& info);
    // Left edge of the marker at a time of the sequence: it sweeps the lane
    // and back once a period.
    static int markerX(const SceneLayout& layout, double seconds);

private:
    static void drawMarker(Canvas& canvas, const SceneLayout& layout, const ToneCurve& tone, double seconds);
    static void drawCounter(Canvas& canvas, const SceneLayout& layout, const FrameInfo& info);
    static void drawStatus(Canvas& canvas, const SceneLayout& layout, const ImageSettings& settings);
    static void drawInfo(Canvas& canvas, const SceneLayout& layout, const ImageSettings& settings,
                         const FrameInfo& info);
    static void drawLabel(Canvas& canvas, int x, int y, const std::string& text, int scale, const Rgb& colour);
};

} // namespace ImageAcquisition
