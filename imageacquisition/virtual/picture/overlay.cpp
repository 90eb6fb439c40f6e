#include "overlay.h"

#include "font5x7.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace ImageAcquisition {

namespace {
const Rgb kBlack{0, 0, 0};
const Rgb kWhite{235, 235, 235};
const Rgb kYellow{255, 220, 40};
const Rgb kRed{255, 48, 48};
const Rgb kGrey{200, 200, 200};
} // namespace

void Overlay::draw(Canvas& canvas, const SceneLayout& layout, const ToneCurve& tone, const ImageSettings& settings,
                   const FrameInfo& info)
{
    drawMarker(canvas, layout, tone, info.seconds);
    drawCounter(canvas, layout, info);
    drawStatus(canvas, layout, settings);
    drawInfo(canvas, layout, settings, info);
}

int Overlay::markerX(const SceneLayout& layout, double seconds)
{
    const double phase = std::fmod(std::max(0.0, seconds), kMarkerPeriodSeconds) / kMarkerPeriodSeconds;
    const double there = phase < 0.5 ? 2.0 * phase : 2.0 - 2.0 * phase;
    return layout.markerMinX + static_cast<int>(std::lround(there * (layout.markerMaxX - layout.markerMinX)));
}

void Overlay::drawMarker(Canvas& canvas, const SceneLayout& layout, const ToneCurve& tone, double seconds)
{
    const int x = markerX(layout, seconds);
    const int size = layout.markerSize;
    const int border = std::max(1, size / 8);
    canvas.fillRect(x, layout.markerY, size, size, tone.map({230, 230, 230}));
    canvas.fillRect(x + border, layout.markerY + border, size - 2 * border, size - 2 * border,
                    tone.map({230, 110, 20}));
    const int dot = std::max(1, size / 5);
    canvas.fillRect(x + (size - dot) / 2, layout.markerY + (size - dot) / 2, dot, dot, tone.map({20, 20, 20}));
}

void Overlay::drawLabel(Canvas& canvas, int x, int y, const std::string& text, int scale, const Rgb& colour)
{
    const int pad = scale;
    canvas.fillRect(x, y, Font5x7::textWidth(static_cast<int>(text.size()), scale) + 2 * pad,
                    Font5x7::kHeight * scale + 2 * pad, kBlack);
    canvas.drawText(x + pad, y + pad, text, scale, colour);
}

void Overlay::drawCounter(Canvas& canvas, const SceneLayout& layout, const FrameInfo& info)
{
    const int u = layout.unit;
    char number[32];
    std::snprintf(number, sizeof number, "#%06llu", info.number);
    drawLabel(canvas, 2 * u, 2 * u, number, 3 * u, kWhite);

    const auto millis = static_cast<long long>(std::floor(info.seconds * 1000.0));
    char clock[32];
    std::snprintf(clock, sizeof clock, "%02lld:%02lld.%03lld", millis / 60000, millis / 1000 % 60, millis % 1000);
    drawLabel(canvas, 2 * u, 2 * u + (Font5x7::kHeight + 3) * 3 * u, clock, 2 * u, kWhite);
}

void Overlay::drawStatus(Canvas& canvas, const SceneLayout& layout, const ImageSettings& settings)
{
    const int u = layout.unit;
    const int right = layout.width - 2 * u;
    int y = 2 * u;
    auto rightAligned = [&](const std::string& text, int scale, const Rgb& colour) {
        const int w = Font5x7::textWidth(static_cast<int>(text.size()), scale) + 2 * scale;
        drawLabel(canvas, right - w, y, text, scale, colour);
        y += (Font5x7::kHeight + 3) * scale;
    };
    // Wide enough to read, narrow enough to stay clear of the counter.
    if (!settings.overlayText.empty())
        rightAligned(settings.overlayText, std::max(1, layout.width / 320), kYellow);

    char line[64];
    std::snprintf(line, sizeof line, "%.1f C  link %lld MHz", settings.temperatureCenti / 100.0,
                  settings.linkFrequency / 1000000);
    rightAligned(line, u, kGrey);
    if (settings.errors != 0) {
        std::snprintf(line, sizeof line, "ERROR 0x%08x", settings.errors);
        rightAligned(line, u, kRed);
    }
}

void Overlay::drawInfo(Canvas& canvas, const SceneLayout& layout, const ImageSettings& settings,
                       const FrameInfo& info)
{
    const int u = layout.unit;
    char line[160];
    std::snprintf(line, sizeof line, "%s  exp %lld us  gain %d  wb %d K", info.caption.c_str(), settings.exposureUs,
                  settings.gain, settings.whiteBalance);
    canvas.drawText(2 * u, layout.infoTop + 2 * u, line, u, kGrey);
}

} // namespace ImageAcquisition
