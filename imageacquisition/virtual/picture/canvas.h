#pragma once

#include "cellprints.h"
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
    unsigned char* data() const { return m_data; }

    // Clipped to the frame.
    void fillRect(int x, int y, int w, int h, const Rgb& colour);
    // Text with its top-left corner at (x, y), each dot scale x scale pixels.
    void drawText(int x, int y, const std::string& text, int scale, const Rgb& colour);

    // From now on, draws nothing but adds what it would draw to prints,
    // whose grid must lie over the whole frame; null to draw again.
    void recordInto(CellPrints* prints) { m_prints = prints; }
    // From now on, draws only inside the cells marked in clip, whose grid
    // must lie over the whole frame; null to draw everywhere.
    void clipTo(const DirtyGrid* clip) { m_clip = clip; }

private:
    // Fills the rectangle, which lies inside the frame.
    void fill(int left, int top, int right, int bottom, const Rgb& colour);

    Encoding m_encoding;
    unsigned char* m_data;
    int m_width;
    int m_height;
    int m_bytesPerLine;
    CellPrints* m_prints = nullptr;
    const DirtyGrid* m_clip = nullptr;
};

} // namespace ImageAcquisition
