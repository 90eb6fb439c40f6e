#pragma once

#include <memory>
#include <vector>

namespace ImageAcquisition {

class DirtyGrid;

// Compresses RGB pictures into baseline JPEG with libjpeg(-turbo). One
// encoder is reused from frame to frame.
//
// The stream has a restart marker after every cell of a few MCUs (a cell is
// up to 8 MCUs, 128 pixels, wide and one MCU, 16 pixels, high), which makes
// each cell an independently coded piece. The encoder keeps the coded cells
// of its last picture, so that a picture which differs from the last one in
// a few places only costs the compression of the cells there: in a frame of
// the virtual camera only the overlay moves.
class JpegEncoder
{
public:
    static constexpr int kCellHeight = 16;

    explicit JpegEncoder(int quality = 85);
    ~JpegEncoder();

    JpegEncoder(const JpegEncoder&) = delete;
    JpegEncoder& operator=(const JpegEncoder&) = delete;

    // Width in pixels of the cells of a picture of the given width.
    static int cellWidth(int width);

    // rgb: width x height pixels of R, G, B, rows packed. The JPEG goes to
    // the start of out, which grows as needed; returns its size, 0 on failure.
    size_t encode(const unsigned char* rgb, int width, int height, std::vector<unsigned char>& out);
    // The same bytes as encode() gives for the picture, when it differs from
    // the last picture only in the cells marked in changed (laid out by
    // cellWidth and kCellHeight): only those are compressed again. Compresses
    // the whole picture when there is no last picture of that size.
    size_t encodeChanged(const unsigned char* rgb, int width, int height, const DirtyGrid& changed,
                         std::vector<unsigned char>& out);

private:
    struct Context;

    // Compresses the rectangle of the picture (the picture's rows are
    // stride bytes apart) as a JPEG of its own into m_coded.
    bool compress(const unsigned char* topLeft, size_t stride, int width, int height, int cellMcus);
    // Takes the coded cells out of m_coded into the cells of the rectangle
    // of columns firstColumn .. lastColumn and rows firstRow .. lastRow,
    // and the header when keepHeader; false when the stream is not as expected.
    bool keepCells(int firstColumn, int lastColumn, int firstRow, int lastRow, bool keepHeader);
    bool encodeRectangle(const unsigned char* rgb, int firstColumn, int lastColumn, int firstRow, int lastRow);
    size_t assemble(std::vector<unsigned char>& out) const;
    void forget();

    std::unique_ptr<Context> m_context;
    int m_quality;

    std::vector<unsigned char> m_coded;
    size_t m_codedSize = 0;
    // The last picture: its size, its headers up to the start of the coded
    // data, and the coded data of each cell (row by row) without its marker.
    int m_width = 0;
    int m_height = 0;
    int m_columns = 0;
    int m_rows = 0;
    std::vector<unsigned char> m_header;
    std::vector<std::vector<unsigned char>> m_cells;
};

} // namespace ImageAcquisition
