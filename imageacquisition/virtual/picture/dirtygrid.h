#pragma once

#include "celllayout.h"

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

    bool isDirty(int column, int row) const { return m_cells[m_layout.index(column, row)] != 0; }
    bool hasLayout(int width, int height, int cellWidth, int cellHeight) const
    {
        return m_layout.is(width, height, cellWidth, cellHeight);
    }
    int width() const { return m_layout.width; }
    int height() const { return m_layout.height; }
    int cellWidth() const { return m_layout.cellWidth; }
    int cellHeight() const { return m_layout.cellHeight; }
    int columns() const { return m_layout.columns; }
    int rows() const { return m_layout.rows; }

private:
    CellLayout m_layout;
    std::vector<unsigned char> m_cells;
};

} // namespace ImageAcquisition
