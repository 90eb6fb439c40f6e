#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ImageAcquisition {

struct Rgb;

// A fingerprint of what was drawn in each cell of a picture laid out in a
// grid of equal cells: every rectangle filled adds its place and colour to
// the print of each cell it touches, in order. Drawing is deterministic, so
// two pictures drawn on the same background whose prints of a cell are
// equal have the same pixels there; 0 is a cell nothing was drawn in.
class CellPrints
{
public:
    void reset(int width, int height, int cellWidth, int cellHeight);
    // Adds the rectangle [left, right) x [top, bottom), inside the picture.
    void add(int left, int top, int right, int bottom, const Rgb& colour);

    std::uint64_t at(int column, int row) const
    {
        return m_prints[static_cast<size_t>(row) * static_cast<size_t>(m_columns) + static_cast<size_t>(column)];
    }
    bool hasLayout(int width, int height, int cellWidth, int cellHeight) const
    {
        return width == m_width && height == m_height && cellWidth == m_cellWidth && cellHeight == m_cellHeight;
    }
    int columns() const { return m_columns; }
    int rows() const { return m_rows; }

private:
    int m_width = 0;
    int m_height = 0;
    int m_cellWidth = 1;
    int m_cellHeight = 1;
    int m_columns = 0;
    int m_rows = 0;
    std::vector<std::uint64_t> m_prints;
};

} // namespace ImageAcquisition
