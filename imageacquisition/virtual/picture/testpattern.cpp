#include "testpattern.h"

#include <algorithm>
#include <cmath>

namespace ImageAcquisition {

namespace {

// 75 % bars, in the usual order of falling luminance.
const Rgb kBars[] = {{191, 191, 191}, {191, 191, 0}, {0, 191, 191}, {0, 191, 0},
                     {191, 0, 191},   {191, 0, 0},   {0, 0, 191}};

void put(unsigned char* p, const Rgb& c)
{
    p[0] = c.r;
    p[1] = c.g;
    p[2] = c.b;
}

} // namespace

void TestPattern::render(int pattern, int defocus, const SceneLayout& layout, RgbImage& image)
{
    image.resize(layout.width, layout.height);
    drawPattern(pattern, layout, image);
    drawRamp(layout, image);
    drawLane(layout, image);
    drawFocusTarget(defocus, layout, image);
    fillRows(image, layout.infoTop, layout.height, {0, 0, 0});
}

void TestPattern::fillRows(RgbImage& image, int top, int bottom, const Rgb& colour)
{
    for (int y = std::max(0, top); y < std::min(bottom, image.height); ++y) {
        unsigned char* p = image.row(y);
        for (int x = 0; x < image.width; ++x, p += 3)
            put(p, colour);
    }
}

void TestPattern::drawPattern(int pattern, const SceneLayout& layout, RgbImage& image)
{
    const int w = layout.width;
    const int square = std::max(2, layout.height / 12);
    for (int y = 0; y < layout.barsBottom; ++y) {
        unsigned char* p = image.row(y);
        for (int x = 0; x < w; ++x, p += 3) {
            switch (pattern) {
            case GreyRamp: {
                const auto level = static_cast<unsigned char>(x * 255 / std::max(1, w - 1));
                put(p, {level, level, level});
                break;
            }
            case Checkerboard: {
                const bool light = ((x / square) + (y / square)) % 2 == 0;
                const unsigned char level = light ? 191 : 16;
                put(p, {level, level, level});
                break;
            }
            default:
                put(p, kBars[x * 7 / w]);
                break;
            }
        }
    }
}

void TestPattern::drawRamp(const SceneLayout& layout, RgbImage& image)
{
    const int w = layout.width;
    for (int y = layout.barsBottom; y < layout.rampBottom; ++y) {
        unsigned char* p = image.row(y);
        for (int x = 0; x < w; ++x, p += 3) {
            const auto level = static_cast<unsigned char>(x * 255 / std::max(1, w - 1));
            put(p, {level, level, level});
        }
    }
}

void TestPattern::drawLane(const SceneLayout& layout, RgbImage& image)
{
    fillRows(image, layout.rampBottom, layout.laneBottom, {40, 40, 48});
    // A scale along the top of the lane, so the marker's speed can be judged.
    const int tick = std::max(1, layout.unit);
    for (int i = 0; i <= 16; ++i) {
        const int x = std::min(layout.width - tick, i * layout.width / 16);
        for (int y = layout.rampBottom; y < std::min(layout.laneBottom, layout.rampBottom + 4 * tick); ++y) {
            unsigned char* p = image.row(y) + 3 * x;
            for (int k = 0; k < tick; ++k, p += 3)
                put(p, {128, 128, 128});
        }
    }
}

void TestPattern::drawFocusTarget(int defocus, const SceneLayout& layout, RgbImage& image)
{
    // A zone plate: rings that get finer towards the edge. A blurred lens
    // removes fine detail first, so the outer rings fade first; a Gaussian
    // blur of width sigma scales a ring pattern of frequency f by
    // exp(-(sigma f)^2 / 2).
    const int r = layout.targetRadius;
    const double k = M_PI * r / 4.0; // the outermost ring is a quarter of the finest a pixel grid shows
    const double sigma = defocus / 16.0;
    for (int dy = -r; dy <= r; ++dy) {
        const int y = layout.targetY + dy;
        if (y < 0 || y >= image.height)
            continue;
        unsigned char* rowStart = image.row(y);
        for (int dx = -r; dx <= r; ++dx) {
            const int x = layout.targetX + dx;
            const double rho2 = (double(dx) * dx + double(dy) * dy) / (double(r) * r);
            if (x < 0 || x >= image.width || rho2 > 1.0)
                continue;
            const double frequency = 2.0 * k * std::sqrt(rho2) / r;
            const double contrast = std::exp(-0.5 * sigma * sigma * frequency * frequency);
            const double level = 128.0 + 110.0 * contrast * std::cos(k * rho2);
            const auto v = static_cast<unsigned char>(std::lround(level));
            put(rowStart + 3 * x, {v, v, v});
        }
    }
}

} // namespace ImageAcquisition
