#include "canvas.h"

#include "bayermosaic.h"
#include "colourconversion.h"
#include "font5x7.h"

#include <algorithm>
#include <cstring>

namespace ImageAcquisition {

Canvas::Canvas(Encoding encoding, unsigned char* data, int width, int height, int bytesPerLine)
    : m_encoding(encoding), m_data(data), m_width(width), m_height(height), m_bytesPerLine(bytesPerLine)
{
}

void Canvas::fillRect(int x, int y, int w, int h, const Rgb& colour)
{
    const int left = std::max(0, x);
    const int top = std::max(0, y);
    const int right = std::min(m_width, x + w);
    const int bottom = std::min(m_height, y + h);
    if (left >= right || top >= bottom)
        return;
    if (m_prints) {
        m_prints->add(left, top, right, bottom, colour);
        return;
    }
    if (!m_clip) {
        fill(left, top, right, bottom, colour);
        return;
    }
    const int cellWidth = m_clip->cellWidth();
    const int cellHeight = m_clip->cellHeight();
    for (int row = top / cellHeight; row <= (bottom - 1) / cellHeight; ++row) {
        for (int column = left / cellWidth; column <= (right - 1) / cellWidth; ++column) {
            if (m_clip->isDirty(column, row))
                fill(std::max(left, column * cellWidth), std::max(top, row * cellHeight),
                     std::min(right, (column + 1) * cellWidth), std::min(bottom, (row + 1) * cellHeight), colour);
        }
    }
}

void Canvas::fill(int left, int top, int right, int bottom, const Rgb& colour)
{
    const ColourConversion::Yuv yuv = ColourConversion::toYuv(colour);
    const unsigned char rgb[3] = {colour.r, colour.g, colour.b};
    // Rows of 24-bit pixels are all the same bytes: the first one is painted
    // pixel by pixel and the others are copies of it. The bytes are locals,
    // so that the compiler need not reload them after every store.
    const bool swapped = m_encoding == Encoding::Bgr24;
    const unsigned char first = swapped ? colour.b : colour.r;
    const unsigned char green = colour.g;
    const unsigned char last = swapped ? colour.r : colour.b;
    const size_t rowBytes = 3 * static_cast<size_t>(right - left);
    const unsigned char* firstRow = nullptr;
    for (int row = top; row < bottom; ++row) {
        unsigned char* line = m_data + static_cast<size_t>(row) * static_cast<size_t>(m_bytesPerLine);
        switch (m_encoding) {
        case Encoding::Rgb24:
        case Encoding::Bgr24:
            if (firstRow) {
                std::memcpy(line + 3 * left, firstRow, rowBytes);
                break;
            }
            for (unsigned char* p = line + 3 * left; p < line + 3 * right; p += 3) {
                p[0] = first;
                p[1] = green;
                p[2] = last;
            }
            firstRow = line + 3 * left;
            break;
        case Encoding::BayerGrbg8:
            for (int col = left; col < right; ++col)
                line[col] = rgb[BayerMosaic::channelAt(col, row)];
            break;
        case Encoding::Yuyv:
            for (int col = left; col < right; ++col) {
                line[2 * col] = yuv.y;
                line[2 * col + 1] = (col & 1) == 0 ? yuv.u : yuv.v;
            }
            break;
        case Encoding::Mjpeg:
            return;
        }
    }
}

void Canvas::drawText(int x, int y, const std::string& text, int scale, const Rgb& colour)
{
    for (char c : text) {
        if (x >= m_width)
            break;
        const unsigned char* rows = Font5x7::glyph(c);
        for (int gy = 0; gy < Font5x7::kHeight; ++gy) {
            for (int gx = 0; gx < Font5x7::kWidth; ++gx) {
                if (rows[gy] & (0x10 >> gx))
                    fillRect(x + gx * scale, y + gy * scale, scale, scale, colour);
            }
        }
        x += Font5x7::kAdvance * scale;
    }
}

} // namespace ImageAcquisition
