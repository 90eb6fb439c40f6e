#include "cellprints.h"

#include "rgbimage.h"

namespace ImageAcquisition {

namespace {

// splitmix64's finaliser: every bit of the input reaches every bit of the
// output, so prints of different drawings do not meet by accident.
std::uint64_t mix(std::uint64_t x)
{
    x ^= x >> 30;
    x *= 0xbf58476d1ce4e5b9ULL;
    x ^= x >> 27;
    x *= 0x94d049bb133111ebULL;
    x ^= x >> 31;
    return x;
}

} // namespace

void CellPrints::reset(int width, int height, int cellWidth, int cellHeight)
{
    m_layout = CellLayout::of(width, height, cellWidth, cellHeight);
    m_prints.assign(m_layout.cells(), 0);
}

void CellPrints::add(int left, int top, int right, int bottom, const Rgb& colour)
{
    const std::uint64_t place = static_cast<std::uint64_t>(left) | static_cast<std::uint64_t>(top) << 16 |
                                static_cast<std::uint64_t>(right) << 32 | static_cast<std::uint64_t>(bottom) << 48;
    const std::uint64_t paint = static_cast<std::uint64_t>(colour.r) | static_cast<std::uint64_t>(colour.g) << 8 |
                                static_cast<std::uint64_t>(colour.b) << 16 | 1ULL << 24;
    m_layout.forCellsTouching(left, top, right, bottom,
                              [&](size_t cell) { m_prints[cell] = mix(mix(m_prints[cell] + place) + paint); });
}

} // namespace ImageAcquisition
