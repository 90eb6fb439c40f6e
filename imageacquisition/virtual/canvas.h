#pragma once

#include "dirtygrid.h"
#include "encoding.h"
#include "rgbimage.h"

#include <string>

namespace ImageAcquisition {

// Draws rectangles and text straight into a raw frame of any of the
// uncompressed encodings, so the moving parts of a frame need no full-frame
// conversion.
class Canvas
{
public:
    // encoding must not be Mjpeg.
    Canvas(Encoding encoding, unsigned char* data, int width, int height, int bytesPerLine);

    int width() const { return m_width; }
    int height() const { return m_height; }

    // Clipped to the frame.
    void fillRect(int x, int y, int w, int h, const Rgb& colour);
    // Text with its top-left corner at (x, y), each dot scale x scale pixels.
    void drawText(int x, int y, const std::string& text, int scale, const Rgb& colour);

    // From now on, marks every cell of grid that is drawn on; the grid must
    // lie over the whole frame.
    void trackChanges(DirtyGrid* grid) { m_changes = grid; }

private:
    Encoding m_encoding;
    unsigned char* m_data;
    int m_width;
    int m_height;
    int m_bytesPerLine;
    DirtyGrid* m_changes = nullptr;
};

} // namespace ImageAcquisition
