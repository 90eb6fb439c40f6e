#include "dirtygrid.h"

#include <algorithm>

namespace ImageAcquisition {

void DirtyGrid::reset(int width, int height, int cellWidth, int cellHeight)
{
    m_width = std::max(0, width);
    m_height = std::max(0, height);
    m_cellWidth = std::max(1, cellWidth);
    m_cellHeight = std::max(1, cellHeight);
    m_columns = (m_width + m_cellWidth - 1) / m_cellWidth;
    m_rows = (m_height + m_cellHeight - 1) / m_cellHeight;
    m_cells.assign(static_cast<size_t>(m_columns) * static_cast<size_t>(m_rows), 0);
}

void DirtyGrid::mark(int left, int top, int right, int bottom)
{
    left = std::max(0, left);
    top = std::max(0, top);
    right = std::min(m_width, right);
    bottom = std::min(m_height, bottom);
    if (left >= right || top >= bottom)
        return;
    const int lastColumn = (right - 1) / m_cellWidth;
    const int lastRow = (bottom - 1) / m_cellHeight;
    for (int row = top / m_cellHeight; row <= lastRow; ++row) {
        auto first = m_cells.begin() + static_cast<long>(row) * m_columns;
        std::fill(first + left / m_cellWidth, first + lastColumn + 1, 1);
    }
}

} // namespace ImageAcquisition
