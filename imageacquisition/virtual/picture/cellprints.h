#pragma once

#include "celllayout.h"

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

    std::uint64_t at(int column, int row) const { return m_prints[m_layout.index(column, row)]; }
    bool hasLayout(int width, int height, int cellWidth, int cellHeight) const
    {
        return m_layout.is(width, height, cellWidth, cellHeight);
    }

private:
    CellLayout m_layout;
    std::vector<std::uint64_t> m_prints;
};

} // namespace ImageAcquisition
