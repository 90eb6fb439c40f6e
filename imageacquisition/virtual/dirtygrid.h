#pragma once

#include <cstddef>
#include <vector>

namespace ImageAcquisition {

// Which cells of a picture, laid out in a grid of equal cells (the last
// column and row may be cut short by the picture's edge), have been drawn on.
class DirtyGrid
{
public:
    // A grid over width x height pixels with every cell clean.
    void reset(int width, int height, int cellWidth, int cellHeight);
    // Marks the cells that the rectangle [left, right) x [top, bottom) touches.
    void mark(int left, int top, int right, int bottom);

    bool isDirty(int column, int row) const
    {
        return m_cells[static_cast<size_t>(row) * static_cast<size_t>(m_columns) + static_cast<size_t>(column)] != 0;
    }
    bool hasLayout(int width, int height, int cellWidth, int cellHeight) const
    {
        return width == m_width && height == m_height && cellWidth == m_cellWidth && cellHeight == m_cellHeight;
    }
    int width() const { return m_width; }
    int height() const { return m_height; }
    int cellWidth() const { return m_cellWidth; }
    int cellHeight() const { return m_cellHeight; }
    int columns() const { return m_columns; }
    int rows() const { return m_rows; }

private:
    int m_width = 0;
    int m_height = 0;
    int m_cellWidth = 1;
    int m_cellHeight = 1;
    int m_columns = 0;
    int m_rows = 0;
    std::vector<unsigned char> m_cells;
};

} // namespace ImageAcquisition
