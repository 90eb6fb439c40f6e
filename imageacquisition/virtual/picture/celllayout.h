#pragma once

#include <algorithm>
#include <cstddef>

namespace ImageAcquisition {

// A picture of width x height pixels cut into a grid of equal cells, row by
// row; the last column and row may be cut short by the picture's edge.
struct CellLayout
{
    int width = 0;
    int height = 0;
    int cellWidth = 1;
    int cellHeight = 1;
    int columns = 0;
    int rows = 0;

    static CellLayout of(int width, int height, int cellWidth, int cellHeight)
    {
        CellLayout layout;
        layout.width = std::max(0, width);
        layout.height = std::max(0, height);
        layout.cellWidth = std::max(1, cellWidth);
        layout.cellHeight = std::max(1, cellHeight);
        layout.columns = (layout.width + layout.cellWidth - 1) / layout.cellWidth;
        layout.rows = (layout.height + layout.cellHeight - 1) / layout.cellHeight;
        return layout;
    }
    bool is(int w, int h, int cw, int ch) const
    {
        return w == width && h == height && cw == cellWidth && ch == cellHeight;
    }
    size_t cells() const { return static_cast<size_t>(columns) * static_cast<size_t>(rows); }
    size_t index(int column, int row) const
    {
        return static_cast<size_t>(row) * static_cast<size_t>(columns) + static_cast<size_t>(column);
    }
    // Calls visit(index) for each cell the rectangle [left, right) x
    // [top, bottom), cut to the picture, touches.
    template <typename Visit>
    void forCellsTouching(int left, int top, int right, int bottom, Visit visit) const
    {
        left = std::max(0, left);
        top = std::max(0, top);
        right = std::min(width, right);
        bottom = std::min(height, bottom);
        if (left >= right || top >= bottom)
            return;
        for (int row = top / cellHeight; row <= (bottom - 1) / cellHeight; ++row) {
            for (int column = left / cellWidth; column <= (right - 1) / cellWidth; ++column)
                visit(index(column, row));
        }
    }
};

} // namespace ImageAcquisition
