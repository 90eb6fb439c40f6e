#include "tonecurve.h"

#include <algorithm>
#include <cmath>

namespace ImageAcquisition {

namespace {
// The light of the scene, and the exposure at which it fills the range.
constexpr double kSceneKelvin = 5000.0;
constexpr double kNominalExposureUs = 10000.0;
} // namespace

ToneCurve::Parameters ToneCurve::parametersOf(const ImageSettings& s)
{
    return {s.exposureUs, s.gain, s.whiteBalance, s.contrast, s.brightness};
}

ToneCurve::ToneCurve()
{
    setParameters(Parameters{});
}

void ToneCurve::setParameters(const Parameters& p)
{
    m_parameters = p;
    const double level = static_cast<double>(p.exposureUs) / kNominalExposureUs * (1.0 + p.gain / 25.0);
    // A camera set for warmer light than the scene's adds blue, for cooler light red.
    const double balance = p.whiteBalance / kSceneKelvin;
    const double channel[3] = {std::pow(balance, 1.2), 1.0, std::pow(balance, -1.2)};
    for (int c = 0; c < 3; ++c) {
        for (int v = 0; v < 256; ++v) {
            const double sensed = v * level * channel[c];
            const double out = (sensed - 128.0) * p.contrast / 100.0 + 128.0 + p.brightness;
            m_table[c][v] = static_cast<unsigned char>(std::clamp(std::lround(out), 0L, 255L));
        }
    }
}

Rgb ToneCurve::map(const Rgb& colour) const
{
    return {m_table[0][colour.r], m_table[1][colour.g], m_table[2][colour.b]};
}

void ToneCurve::apply(const RgbImage& in, RgbImage& out) const
{
    out.resize(in.width, in.height);
    const unsigned char* src = in.pixels.data();
    unsigned char* dst = out.pixels.data();
    const size_t pixels = static_cast<size_t>(in.width) * static_cast<size_t>(in.height);
    for (size_t i = 0; i < pixels; ++i, src += 3, dst += 3) {
        dst[0] = m_table[0][src[0]];
        dst[1] = m_table[1][src[1]];
        dst[2] = m_table[2][src[2]];
    }
}

} // namespace ImageAcquisition
