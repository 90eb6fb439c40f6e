#include "picturegenerator.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace UsbCamera {

namespace {

constexpr int kJpegQuality = 85;
constexpr double kMarkerPeriod = 4.0; // seconds to sweep across
constexpr int kCounterBits = 24;

struct Yuv
{
    std::uint8_t y, u, v;
};

// 75 % colour bars in BT.601: white, yellow, cyan, green, magenta, red, blue, black.
constexpr Yuv kBars[] = {{180, 128, 128}, {162, 44, 142}, {131, 156, 44}, {112, 72, 58},
                         {84, 184, 198},  {65, 100, 212}, {35, 212, 114}, {16, 128, 128}};

std::uint8_t clampByte(double value)
{
    return static_cast<std::uint8_t>(std::clamp(std::lround(value), 16L, 240L));
}

} // namespace

PictureGenerator::PictureGenerator() : m_encoder(tjInitCompress()) {}

PictureGenerator::~PictureGenerator()
{
    if (m_encoder)
        tjDestroy(m_encoder);
}

void PictureGenerator::drawScene()
{
    const int w = m_size.width, h = m_size.height, cw = w / 2;
    m_sceneY.assign(std::size_t(w) * h, 16);
    m_sceneU.assign(std::size_t(cw) * h, 128);
    m_sceneV.assign(std::size_t(cw) * h, 128);
    const int barsEnd = h * 3 / 5, rampEnd = h * 4 / 5;
    for (int y = 0; y < rampEnd; ++y) {
        for (int x = 0; x < w; ++x) {
            const std::size_t at = std::size_t(y) * w + x;
            const std::size_t chroma = std::size_t(y) * cw + x / 2;
            if (y < barsEnd) {
                const Yuv& bar = kBars[x * 8 / w];
                m_sceneY[at] = bar.y;
                m_sceneU[chroma] = bar.u;
                m_sceneV[chroma] = bar.v;
            } else {
                m_sceneY[at] = std::uint8_t(16 + 219 * x / (w - 1));
            }
        }
    }
}

void PictureGenerator::applySettings(const PictureSettings& s)
{
    // Light gathered grows with exposure and gain; contrast stretches around
    // mid grey, brightness shifts. One table for the whole picture.
    const double light = std::clamp((1.0 + s.gain / 25.0) * s.exposure / 100.0, 0.1, 4.0);
    std::uint8_t luma[256];
    for (int v = 0; v < 256; ++v)
        luma[v] = clampByte(((v - 16) * light - 110.0) * s.contrast / 100.0 + 126.0 + s.brightness);
    // White balance set for a warmer light than the lamp's tints the
    // picture blue, for a colder one red.
    const double tint = (s.whiteBalanceKelvin - 4600) / 100.0;
    std::uint8_t blue[256], red[256];
    for (int v = 0; v < 256; ++v) {
        blue[v] = clampByte(v - tint);
        red[v] = clampByte(v + tint);
    }
    m_y.resize(m_sceneY.size());
    m_u.resize(m_sceneU.size());
    m_v.resize(m_sceneV.size());
    std::transform(m_sceneY.begin(), m_sceneY.end(), m_y.begin(), [&](std::uint8_t v) { return luma[v]; });
    std::transform(m_sceneU.begin(), m_sceneU.end(), m_u.begin(), [&](std::uint8_t v) { return blue[v]; });
    std::transform(m_sceneV.begin(), m_sceneV.end(), m_v.begin(), [&](std::uint8_t v) { return red[v]; });
    // Y0 U Y1 V: a pair of pixels in one little-endian word.
    m_packed.resize(maxFrameBytes(m_size));
    for (std::size_t i = 0, pairs = m_u.size(); i < pairs; ++i) {
        const std::uint32_t word = std::uint32_t(m_y[2 * i]) | std::uint32_t(m_u[i]) << 8
                                   | std::uint32_t(m_y[2 * i + 1]) << 16 | std::uint32_t(m_v[i]) << 24;
        std::memcpy(m_packed.data() + 4 * i, &word, 4);
    }
}

void PictureGenerator::prepare(const FrameSize& size, const PictureSettings& settings)
{
    const bool newSize = size.width != m_size.width || size.height != m_size.height;
    if (newSize) {
        m_size = size;
        drawScene();
    }
    if (newSize || !m_settings || !(*m_settings == settings)) {
        applySettings(settings);
        m_settings = settings;
    }
}

void PictureGenerator::drawOverlay(std::uint8_t* luma, int pixelStep, std::uint64_t number, double seconds) const
{
    const int w = m_size.width, h = m_size.height;
    const int band = h * 4 / 5, bandHeight = h - band;
    auto fill = [&](int x, int y, int width, int height, std::uint8_t value) {
        for (int row = y; row < y + height; ++row) {
            std::uint8_t* p = luma + (std::ptrdiff_t(row) * w + x) * pixelStep;
            for (int i = 0; i < width; ++i, p += pixelStep)
                *p = value;
        }
    };
    const int markerWidth = std::max(2, w / 80);
    const double phase = std::fmod(seconds, kMarkerPeriod) / kMarkerPeriod;
    fill(static_cast<int>(phase * (w - markerWidth)), 0, markerWidth, band, 235);
    // The frame number, most significant bit on the left.
    const int block = w / kCounterBits;
    for (int bit = 0; bit < kCounterBits; ++bit) {
        const bool set = (number >> (kCounterBits - 1 - bit)) & 1;
        fill(bit * block + 1, band + bandHeight / 4, block - 2, bandHeight / 2, set ? 235 : 60);
    }
}

bool PictureGenerator::render(Encoding encoding, const FrameSize& size, std::uint64_t number, double seconds,
                              const PictureSettings& settings, std::vector<std::uint8_t>& out)
{
    prepare(size, settings);
    if (encoding == Encoding::Yuyv) {
        out = m_packed;
        drawOverlay(out.data(), 2, number, seconds);
        return true;
    }
    if (!m_encoder)
        return false;
    m_frameY = m_y;
    drawOverlay(m_frameY.data(), 1, number, seconds);
    const int w = size.width, h = size.height;
    out.resize(tjBufSize(w, h, TJSAMP_422));
    unsigned char* jpeg = out.data();
    unsigned long jpegSize = out.size();
    const unsigned char* planes[3] = {m_frameY.data(), m_u.data(), m_v.data()};
    const int strides[3] = {w, w / 2, w / 2};
    if (tjCompressFromYUVPlanes(m_encoder, planes, w, strides, h, TJSAMP_422, &jpeg, &jpegSize, kJpegQuality,
                                TJFLAG_NOREALLOC)
        != 0)
        return false;
    out.resize(jpegSize);
    return true;
}

} // namespace UsbCamera
