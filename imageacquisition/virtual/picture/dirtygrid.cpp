#include "dirtygrid.h"

namespace ImageAcquisition {

void DirtyGrid::reset(int width, int height, int cellWidth, int cellHeight)
{
    m_layout = CellLayout::of(width, height, cellWidth, cellHeight);
    m_cells.assign(m_layout.cells(), 0);
}

void DirtyGrid::mark(int left, int top, int right, int bottom)
{
    m_layout.forCellsTouching(left, top, right, bottom, [this](size_t cell) { m_cells[cell] = 1; });
}

} // namespace ImageAcquisition
