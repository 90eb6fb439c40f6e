#include "framerenderer.h"

#include "bayermosaic.h"
#include "canvas.h"
#include "colourconversion.h"
#include "overlay.h"
#include "scenelayout.h"
#include "testpattern.h"

#include <algorithm>
#include <cstring>

namespace ImageAcquisition {

namespace {
// The focus target is drawn again only when the lens has moved this far.
constexpr int kFocusQuantum = 8;
// Cells in which the overlay of a raw frame is tracked. Even, so that a
// cell never splits the pixel pair of a YUYV sample.
constexpr int kRawCellWidth = 64;
constexpr int kRawCellHeight = 16;

// Marks in changed the cells of grid's layout whose prints differ between
// before and now, and copies them from the background into the picture
// (rows lineBytes apart, pixelBytes a pixel): there the picture is drawn
// again, everywhere else it already shows what now would draw.
void restoreChangedCells(const CellPrints& before, const CellPrints& now, DirtyGrid& changed,
                         const unsigned char* background, unsigned char* picture, size_t lineBytes,
                         size_t pixelBytes)
{
    const size_t cellBytes = static_cast<size_t>(changed.cellWidth()) * pixelBytes;
    for (int row = 0; row < changed.rows(); ++row) {
        const int top = row * changed.cellHeight();
        const int bottom = std::min(changed.height(), top + changed.cellHeight());
        for (int column = 0; column < changed.columns(); ++column) {
            if (before.at(column, row) == now.at(column, row))
                continue;
            const int x = column * changed.cellWidth();
            changed.mark(x, top, x + 1, top + 1);
            const size_t left = static_cast<size_t>(x) * pixelBytes;
            const size_t bytes = std::min(lineBytes - left, cellBytes);
            for (int y = top; y < bottom; ++y) {
                const size_t offset = static_cast<size_t>(y) * lineBytes + left;
                std::memcpy(picture + offset, background + offset, bytes);
            }
        }
    }
}
} // namespace

FrameRenderer::FrameRenderer() = default;

void FrameRenderer::prepareScene(const SceneKey& key)
{
    if (key == m_sceneKey)
        return;
    TestPattern::render(key.pattern, key.focusLevel * kFocusQuantum, SceneLayout(key.width, key.height), m_scene);
    m_sceneKey = key;
    ++m_sceneVersion;
}

void FrameRenderer::prepareLitScene(const ToneCurve::Parameters& tone)
{
    if (m_litFromScene == m_sceneVersion && tone == m_tone.parameters())
        return;
    if (tone != m_tone.parameters())
        m_tone.setParameters(tone);
    m_tone.apply(m_scene, m_lit);
    m_litFromScene = m_sceneVersion;
    ++m_litVersion;
}

const std::vector<unsigned char>& FrameRenderer::background(Encoding encoding)
{
    // RGB frames, and the pictures MJPG compresses, are the lit scene itself.
    if (encoding == Encoding::Rgb24 || encoding == Encoding::Mjpeg)
        return m_lit.pixels;
    if (m_convertedFromLit == m_litVersion && m_convertedEncoding == encoding)
        return m_converted;
    m_converted.resize(static_cast<size_t>(bytesPerLine(encoding, m_lit.width)) * static_cast<size_t>(m_lit.height));
    switch (encoding) {
    case Encoding::Bgr24:
        ColourConversion::toBgr(m_lit, m_converted.data());
        break;
    case Encoding::BayerGrbg8:
        BayerMosaic::sample(m_lit, m_converted.data());
        break;
    case Encoding::Yuyv:
        ColourConversion::toYuyv(m_lit, m_converted.data());
        break;
    case Encoding::Rgb24:
    case Encoding::Mjpeg:
        break;
    }
    m_convertedEncoding = encoding;
    m_convertedFromLit = m_litVersion;
    return m_converted;
}

void FrameRenderer::prepare(Encoding encoding, int width, int height, const ImageSettings& settings)
{
    if (width <= 0 || height <= 0)
        return;
    prepareScene({width, height, settings.pattern, settings.defocus / kFocusQuantum});
    prepareLitScene(ToneCurve::parametersOf(settings));
    background(encoding);
}

size_t FrameRenderer::render(Encoding encoding, int width, int height, const ImageSettings& settings,
                             const FrameInfo& info, std::vector<unsigned char>& out, FrameContent* content)
{
    if (width <= 0 || height <= 0)
        return 0;
    prepare(encoding, width, height, settings);
    if (encoding == Encoding::Mjpeg) {
        // The compressed frame overwrites whatever raw picture out held.
        if (content)
            content->valid = false;
        return renderJpeg(width, height, settings, info, out);
    }

    const std::vector<unsigned char>& still = background(encoding);
    const size_t size = still.size();
    const size_t lineBytes = static_cast<size_t>(bytesPerLine(encoding, width));
    // A buffer that has to grow holds nothing worth keeping.
    const bool follows = content && out.size() >= size && content->holds(encoding, width, height, m_litVersion) &&
                         content->overlay.hasLayout(width, height, kRawCellWidth, kRawCellHeight);
    if (out.size() < size)
        out.resize(size);
    if (!follows)
        std::memcpy(out.data(), still.data(), size);
    Canvas canvas(encoding, out.data(), width, height, static_cast<int>(lineBytes));
    if (!content) {
        Overlay::draw(canvas, SceneLayout(width, height), m_tone, settings, info);
        return size;
    }
    drawOverlay(canvas, settings, info, content->overlay, follows, kRawCellWidth, kRawCellHeight, still.data(),
                lineBytes);
    content->valid = true;
    content->encoding = encoding;
    content->width = width;
    content->height = height;
    content->backgroundVersion = m_litVersion;
    return size;
}

void FrameRenderer::drawOverlay(Canvas& canvas, const ImageSettings& settings, const FrameInfo& info,
                                CellPrints& held, bool follows, int cellWidth, int cellHeight,
                                const unsigned char* background, size_t lineBytes)
{
    // Most of what the overlay draws (labels, the status and info lines)
    // comes out the same every frame. What it draws is first only noted,
    // cell by cell; the cells whose drawing differs from what the picture
    // holds get their background back and are drawn again, the others keep
    // their pixels.
    const int width = canvas.width();
    const int height = canvas.height();
    const SceneLayout layout(width, height);
    m_prints.reset(width, height, cellWidth, cellHeight);
    canvas.recordInto(&m_prints);
    Overlay::draw(canvas, layout, m_tone, settings, info);
    canvas.recordInto(nullptr);
    if (follows) {
        m_changedCells.reset(width, height, cellWidth, cellHeight);
        restoreChangedCells(held, m_prints, m_changedCells, background, canvas.data(), lineBytes,
                            lineBytes / static_cast<size_t>(width));
        canvas.clipTo(&m_changedCells);
    }
    Overlay::draw(canvas, layout, m_tone, settings, info);
    canvas.clipTo(nullptr);
    std::swap(held, m_prints);
}

size_t FrameRenderer::renderJpeg(int width, int height, const ImageSettings& settings, const FrameInfo& info,
                                 std::vector<unsigned char>& out)
{
    const RgbImage& still = m_lit;
    const int cellWidth = JpegEncoder::cellWidth(width);
    const int cellHeight = JpegEncoder::kCellHeight;
    const bool follows = m_scratchFromLit == m_litVersion && m_scratch.width == width &&
                         m_scratch.height == height && m_lastPrints.hasLayout(width, height, cellWidth, cellHeight);
    if (!follows) {
        m_scratch.resize(width, height);
        std::memcpy(m_scratch.pixels.data(), still.pixels.data(), still.pixels.size());
    }
    Canvas canvas(Encoding::Rgb24, m_scratch.pixels.data(), width, height, width * 3);
    // The cells drawn again are the ones compressed again; the others keep
    // their coded data.
    drawOverlay(canvas, settings, info, m_lastPrints, follows, cellWidth, cellHeight, still.pixels.data(),
                static_cast<size_t>(width) * 3);

    const size_t size = follows ? m_jpeg.encodeChanged(m_scratch.pixels.data(), width, height, m_changedCells, out)
                                : m_jpeg.encode(m_scratch.pixels.data(), width, height, out);
    // A picture that failed leaves nothing to follow on from.
    m_scratchFromLit = size != 0 ? m_litVersion : ~0u;
    return size;
}

} // namespace ImageAcquisition
