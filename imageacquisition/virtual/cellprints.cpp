#include "cellprints.h"

#include "rgbimage.h"

#include <algorithm>

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
    m_width = std::max(0, width);
    m_height = std::max(0, height);
    m_cellWidth = std::max(1, cellWidth);
    m_cellHeight = std::max(1, cellHeight);
    m_columns = (m_width + m_cellWidth - 1) / m_cellWidth;
    m_rows = (m_height + m_cellHeight - 1) / m_cellHeight;
    m_prints.assign(static_cast<size_t>(m_columns) * static_cast<size_t>(m_rows), 0);
}

void CellPrints::add(int left, int top, int right, int bottom, const Rgb& colour)
{
    if (left >= right || top >= bottom)
        return;
    const std::uint64_t place = static_cast<std::uint64_t>(left) | static_cast<std::uint64_t>(top) << 16 |
                                static_cast<std::uint64_t>(right) << 32 | static_cast<std::uint64_t>(bottom) << 48;
    const std::uint64_t paint = static_cast<std::uint64_t>(colour.r) | static_cast<std::uint64_t>(colour.g) << 8 |
                                static_cast<std::uint64_t>(colour.b) << 16 | 1ULL << 24;
    const int lastColumn = std::min(m_columns - 1, (right - 1) / m_cellWidth);
    const int lastRow = std::min(m_rows - 1, (bottom - 1) / m_cellHeight);
    for (int row = std::max(0, top / m_cellHeight); row <= lastRow; ++row) {
        for (int column = std::max(0, left / m_cellWidth); column <= lastColumn; ++column) {
            std::uint64_t& print = m_prints[static_cast<size_t>(row) * static_cast<size_t>(m_columns) +
                                            static_cast<size_t>(column)];
            print = mix(mix(print + place) + paint);
        }
    }
}

} // namespace ImageAcquisition
