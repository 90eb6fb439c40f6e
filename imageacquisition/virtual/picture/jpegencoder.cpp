#include "jpegencoder.h"

#include "dirtygrid.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstring>

#include <jpeglib.h>

namespace ImageAcquisition {

namespace {
constexpr size_t kInitialCapacity = 64 * 1024;
constexpr int kRowsPerCall = 16;
} // namespace

// libjpeg reports a fatal error by calling error_exit, which must not
// return; it jumps back to encode() instead, since unwinding a C++
// exception through the C library is not safe.
struct JpegEncoder::Context
{
    struct Errors
    {
        jpeg_error_mgr manager;
        std::jmp_buf jump;
    };
    struct Destination
    {
        jpeg_destination_mgr manager;
        std::vector<unsigned char>* out;
    };

    jpeg_compress_struct compressor{};
    Errors errors{};
    Destination destination{};

    static void errorExit(j_common_ptr info)
    {
        auto* errors = reinterpret_cast<Errors*>(info->err);
        std::longjmp(errors->jump, 1);
    }

    static void initDestination(j_compress_ptr info)
    {
        auto* destination = reinterpret_cast<Destination*>(info->dest);
        std::vector<unsigned char>& out = *destination->out;
        if (out.size() < kInitialCapacity)
            out.resize(kInitialCapacity);
        destination->manager.next_output_byte = out.data();
        destination->manager.free_in_buffer = out.size();
    }

    // The whole buffer is full: keep it and go on in a larger one.
    static boolean emptyOutputBuffer(j_compress_ptr info)
    {
        auto* destination = reinterpret_cast<Destination*>(info->dest);
        std::vector<unsigned char>& out = *destination->out;
        const size_t used = out.size();
        bool grown = true;
        try {
            out.resize(used * 2);
        } catch (...) {
            grown = false;
        }
        if (!grown)
            errorExit(reinterpret_cast<j_common_ptr>(info));
        destination->manager.next_output_byte = out.data() + used;
        destination->manager.free_in_buffer = out.size() - used;
        return TRUE;
    }

    static void termDestination(j_compress_ptr) {}
};

JpegEncoder::JpegEncoder(int quality) : m_context(std::make_unique<Context>()), m_quality(quality)
{
    Context& c = *m_context;
    c.compressor.err = jpeg_std_error(&c.errors.manager);
    c.errors.manager.error_exit = &Context::errorExit;
    jpeg_create_compress(&c.compressor);
    c.destination.manager.init_destination = &Context::initDestination;
    c.destination.manager.empty_output_buffer = &Context::emptyOutputBuffer;
    c.destination.manager.term_destination = &Context::termDestination;
    c.compressor.dest = &c.destination.manager;
}

JpegEncoder::~JpegEncoder()
{
    jpeg_destroy_compress(&m_context->compressor);
}

namespace {

constexpr int kMcuSize = 16;
constexpr int kMaxCellMcus = 8;

// Cells narrower than this cost more in markers than they save: such
// pictures are cut into whole rows of MCUs instead.
constexpr int kMinCellMcus = 4;

int cellMcusOf(int width)
{
    const int mcus = (width + kMcuSize - 1) / kMcuSize;
    // A cell count that divides the row, so that every row of MCUs starts a
    // new cell and the cells line up in columns.
    for (int cell = std::min(kMaxCellMcus, mcus); cell >= kMinCellMcus; --cell) {
        if (mcus % cell == 0)
            return cell;
    }
    return std::max(1, mcus);
}

} // namespace

int JpegEncoder::cellWidth(int width)
{
    return cellMcusOf(width) * kMcuSize;
}

bool JpegEncoder::compress(const unsigned char* topLeft, size_t stride, int width, int height, int cellMcus)
{
    Context& c = *m_context;
    c.destination.out = &m_coded;
    if (setjmp(c.errors.jump) != 0) {
        jpeg_abort_compress(&c.compressor);
        return false;
    }
    c.compressor.image_width = static_cast<JDIMENSION>(width);
    c.compressor.image_height = static_cast<JDIMENSION>(height);
    c.compressor.input_components = 3;
    c.compressor.in_color_space = JCS_RGB;
    jpeg_set_defaults(&c.compressor);
    jpeg_set_quality(&c.compressor, m_quality, TRUE);
    c.compressor.dct_method = JDCT_IFAST;
    // The defaults subsample the colour 2x2, so an MCU is 16 x 16 pixels;
    // a restart marker after every cell of MCUs.
    c.compressor.restart_interval = static_cast<unsigned int>(cellMcus);
    jpeg_start_compress(&c.compressor, TRUE);
    while (c.compressor.next_scanline < c.compressor.image_height) {
        JSAMPROW rows[kRowsPerCall];
        const JDIMENSION next = c.compressor.next_scanline;
        int n = 0;
        for (; n < kRowsPerCall && next + static_cast<JDIMENSION>(n) < c.compressor.image_height; ++n)
            rows[n] = const_cast<unsigned char*>(topLeft + (next + static_cast<size_t>(n)) * stride);
        jpeg_write_scanlines(&c.compressor, rows, static_cast<JDIMENSION>(n));
    }
    jpeg_finish_compress(&c.compressor);
    m_codedSize = m_coded.size() - c.destination.manager.free_in_buffer;
    return true;
}

bool JpegEncoder::keepCells(int firstColumn, int lastColumn, int firstRow, int lastRow, bool keepHeader)
{
    const unsigned char* data = m_coded.data();
    const size_t size = m_codedSize;
    // The markers up to and including the start of scan, each with its length.
    size_t pos = 2;
    size_t scanStart = 0;
    while (pos + 4 <= size && data[pos] == 0xFF) {
        const unsigned char marker = data[pos + 1];
        const size_t length = (static_cast<size_t>(data[pos + 2]) << 8) | data[pos + 3];
        pos += 2 + length;
        if (marker == 0xDA) {
            scanStart = pos;
            break;
        }
    }
    if (scanStart == 0 || size < scanStart + 2 || data[size - 2] != 0xFF || data[size - 1] != 0xD9)
        return false;
    if (keepHeader)
        m_header.assign(data, data + scanStart);

    // The rectangle's cells in the order they were coded, row by row.
    const int width = lastColumn - firstColumn + 1;
    const int count = width * (lastRow - firstRow + 1);
    int index = 0;
    auto keep = [&](size_t from, size_t to) {
        const int row = firstRow + index / width;
        const int column = firstColumn + index % width;
        m_cells[static_cast<size_t>(row) * static_cast<size_t>(m_columns) + static_cast<size_t>(column)].assign(
            data + from, data + to);
        ++index;
    };
    // The coded data escapes every 0xFF it holds as 0xFF 0x00, so a 0xFF
    // followed by 0xD0..0xD7 is a restart marker.
    const size_t end = size - 2;
    size_t cellStart = scanStart;
    for (size_t i = scanStart; i + 1 < end; ++i) {
        const void* found = std::memchr(data + i, 0xFF, end - 1 - i);
        if (!found)
            break;
        i = static_cast<size_t>(static_cast<const unsigned char*>(found) - data);
        if (data[i + 1] >= 0xD0 && data[i + 1] <= 0xD7) {
            if (index >= count - 1)
                return false;
            keep(cellStart, i);
            cellStart = i + 2;
            ++i;
        }
    }
    if (index != count - 1)
        return false;
    keep(cellStart, end);
    return true;
}

size_t JpegEncoder::assemble(std::vector<unsigned char>& out) const
{
    // Each cell is followed by a marker: a restart marker, or the end of the image.
    size_t size = m_header.size();
    for (const auto& cell : m_cells)
        size += cell.size() + 2;
    if (out.size() < size)
        out.resize(size);
    unsigned char* p = out.data();
    std::memcpy(p, m_header.data(), m_header.size());
    p += m_header.size();
    for (size_t i = 0; i < m_cells.size(); ++i) {
        if (!m_cells[i].empty())
            std::memcpy(p, m_cells[i].data(), m_cells[i].size());
        p += m_cells[i].size();
        *p++ = 0xFF;
        // Restart markers count 0 to 7 and round again.
        *p++ = i + 1 < m_cells.size() ? static_cast<unsigned char>(0xD0 + i % 8) : 0xD9;
    }
    return size;
}

void JpegEncoder::forget()
{
    m_width = 0;
    m_height = 0;
}

size_t JpegEncoder::encode(const unsigned char* rgb, int width, int height, std::vector<unsigned char>& out)
{
    forget();
    if (!rgb || width <= 0 || height <= 0)
        return 0;
    const int cellMcus = cellMcusOf(width);
    m_columns = (width + cellMcus * kMcuSize - 1) / (cellMcus * kMcuSize);
    m_rows = (height + kCellHeight - 1) / kCellHeight;
    m_cells.resize(static_cast<size_t>(m_columns) * static_cast<size_t>(m_rows));
    if (!compress(rgb, static_cast<size_t>(width) * 3, width, height, cellMcus) ||
        !keepCells(0, m_columns - 1, 0, m_rows - 1, true))
        return 0;
    m_width = width;
    m_height = height;
    return assemble(out);
}

bool JpegEncoder::encodeRectangle(const unsigned char* rgb, int firstColumn, int lastColumn, int firstRow,
                                  int lastRow)
{
    const int cellMcus = cellMcusOf(m_width);
    const int cellPixels = cellMcus * kMcuSize;
    const int left = firstColumn * cellPixels;
    const int top = firstRow * kCellHeight;
    const int width = std::min(m_width, (lastColumn + 1) * cellPixels) - left;
    const int height = std::min(m_height, (lastRow + 1) * kCellHeight) - top;
    const size_t stride = static_cast<size_t>(m_width) * 3;
    const unsigned char* topLeft = rgb + static_cast<size_t>(top) * stride + static_cast<size_t>(left) * 3;
    return compress(topLeft, stride, width, height, cellMcus) &&
           keepCells(firstColumn, lastColumn, firstRow, lastRow, false);
}

size_t JpegEncoder::encodeChanged(const unsigned char* rgb, int width, int height, const DirtyGrid& changed,
                                  std::vector<unsigned char>& out)
{
    if (!rgb || width != m_width || height != m_height ||
        !changed.hasLayout(width, height, cellWidth(width), kCellHeight))
        return encode(rgb, width, height, out);
    auto rowChanged = [&](int row) {
        for (int column = 0; column < m_columns; ++column) {
            if (changed.isDirty(column, row))
                return true;
        }
        return false;
    };
    // Neighbouring rows with changes are compressed together, in one
    // rectangle for each run of columns that has changes in any of them:
    // one compression for each moving part rather than for each cell.
    for (int row = 0; row < m_rows;) {
        if (!rowChanged(row)) {
            ++row;
            continue;
        }
        int lastRow = row;
        while (lastRow + 1 < m_rows && rowChanged(lastRow + 1))
            ++lastRow;
        auto columnChanged = [&](int column) {
            for (int r = row; r <= lastRow; ++r) {
                if (changed.isDirty(column, r))
                    return true;
            }
            return false;
        };
        for (int column = 0; column < m_columns;) {
            if (!columnChanged(column)) {
                ++column;
                continue;
            }
            int lastColumn = column;
            while (lastColumn + 1 < m_columns && columnChanged(lastColumn + 1))
                ++lastColumn;
            if (!encodeRectangle(rgb, column, lastColumn, row, lastRow)) {
                forget();
                return 0;
            }
            column = lastColumn + 1;
        }
        row = lastRow + 1;
    }
    return assemble(out);
}

} // namespace ImageAcquisition
