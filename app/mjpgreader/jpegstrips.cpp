#include "jpegstrips.h"

#include <QtGlobal>

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

// What the headers say of the frame, as far as cutting it needs.
struct Layout
{
    int width = 0;
    int height = 0;
    int mcuWidth = 8;
    int mcuHeight = 8;
    int restartInterval = 0; // in MCUs
    bool verticalContext = false;
    qint64 heightField = 0; // where the frame header holds the height
    qint64 scanStart = 0;   // the first byte of coded data
    QVector<qint64> restarts; // where each restart marker is
    qint64 scanEnd = 0;       // where the end-of-image marker is

    int mcusPerRow() const { return (width + mcuWidth - 1) / mcuWidth; }
    int mcuRows() const { return (height + mcuHeight - 1) / mcuHeight; }
    // Whether a restart interval begins with the row of MCUs.
    bool cuttableAt(int row) const
    {
        return qint64(row) * mcusPerRow() % restartInterval == 0;
    }
    // Intervals that begin before the row; at the end of the picture all of
    // them, the last one perhaps short.
    int intervalsBefore(int row) const
    {
        return int((qint64(row) * mcusPerRow() + restartInterval - 1) / restartInterval);
    }
};

int twoBytes(const uchar* p)
{
    return (p[0] << 8) | p[1];
}

bool readHeaders(const uchar* data, qint64 size, Layout& layout)
{
    if (size < 4 || data[0] != 0xFF || data[1] != 0xD8)
        return false;
    int components = 0;
    qint64 pos = 2;
    while (pos + 4 <= size) {
        if (data[pos] != 0xFF)
            return false;
        const uchar marker = data[pos + 1];
        if (marker == 0xFF) { // fill byte before a marker
            ++pos;
            continue;
        }
        const qint64 length = twoBytes(data + pos + 2);
        if (length < 2 || pos + 2 + length > size)
            return false;
        const uchar* segment = data + pos + 4;
        const qint64 segmentSize = length - 2;
        switch (marker) {
        case 0xC0: // baseline
        case 0xC1: { // extended sequential, Huffman coded
            if (components != 0 || segmentSize < 6 || segment[0] != 8)
                return false;
            layout.height = twoBytes(segment + 1);
            layout.width = twoBytes(segment + 3);
            components = segment[5];
            // Grey or YCbCr; four components need a conversion the strips
            // would not share.
            if (layout.height == 0 || layout.width == 0 || (components != 1 && components != 3) ||
                segmentSize < 6 + 3 * components)
                return false;
            int hMax = 1, vMax = 1, vMin = 4;
            for (int c = 0; c < components; ++c) {
                const int h = segment[7 + 3 * c] >> 4;
                const int v = segment[7 + 3 * c] & 0x0F;
                if (h < 1 || h > 4 || v < 1 || v > 4)
                    return false;
                hMax = std::max(hMax, h);
                vMax = std::max(vMax, v);
                vMin = std::min(vMin, v);
            }
            // One component is coded block by block whatever its factors.
            if (components == 3) {
                layout.mcuWidth = 8 * hMax;
                layout.mcuHeight = 8 * vMax;
                layout.verticalContext = vMin < vMax;
            }
            layout.heightField = pos + 5;
            break;
        }
        case 0xC2: case 0xC3: case 0xC5: case 0xC6: case 0xC7: case 0xC9: case 0xCA: case 0xCB: case 0xCD:
        case 0xCE: case 0xCF:
            return false; // progressive, lossless, hierarchical or arithmetic coded
        case 0xDD:
            if (segmentSize < 2)
                return false;
            layout.restartInterval = twoBytes(segment);
            break;
        case 0xDA:
            // One scan holding every component.
            if (components == 0 || segmentSize < 1 || segment[0] != components)
                return false;
            layout.scanStart = pos + 2 + length;
            return layout.restartInterval > 0;
        case 0xD8: case 0xD9:
            return false;
        default:
            if (marker >= 0xD0 && marker <= 0xD7)
                return false;
            break; // tables, application data, comments
        }
        pos += 2 + length;
    }
    return false;
}

bool findRestarts(const uchar* data, qint64 size, Layout& layout)
{
    qint64 i = layout.scanStart;
    while (i + 1 < size) {
        const void* found = std::memchr(data + i, 0xFF, size_t(size - 1 - i));
        if (!found)
            return false;
        i = static_cast<const uchar*>(found) - data;
        const uchar next = data[i + 1];
        if (next == 0x00) { // a coded 0xFF
            i += 2;
        } else if (next == 0xFF) {
            ++i;
        } else if (next >= 0xD0 && next <= 0xD7) {
            if (next - 0xD0 != layout.restarts.size() % 8)
                return false;
            layout.restarts.append(i);
            i += 2;
        } else if (next == 0xD9) {
            layout.scanEnd = i;
            return layout.restarts.size() == layout.intervalsBefore(layout.mcuRows()) - 1;
        } else {
            return false; // another scan or a line count: not one plain scan
        }
    }
    return false;
}

// The strip of MCU rows [from, to): the frame's headers with the strip's
// height, and the coded data of its intervals.
JpegStrips::Strip strip(const uchar* data, const Layout& layout, int from, int to)
{
    const int height = std::min(layout.height, to * layout.mcuHeight) - from * layout.mcuHeight;
    const qint64 begin = from == 0 ? layout.scanStart : layout.restarts[layout.intervalsBefore(from) - 1] + 2;
    const qint64 end = to == layout.mcuRows() ? layout.scanEnd : layout.restarts[layout.intervalsBefore(to) - 1];
    JpegStrips::Strip strip;
    strip.headers = QByteArray(reinterpret_cast<const char*>(data), int(layout.scanStart));
    strip.headers[int(layout.heightField)] = char(height >> 8);
    strip.headers[int(layout.heightField + 1)] = char(height & 0xFF);
    strip.coded = data + begin;
    strip.codedSize = end - begin;
    return strip;
}

} // namespace

QVector<JpegStrips::Strip> JpegStrips::cut(const uchar* data, qint64 size, int count, int minRows)
{
    Layout layout;
    if (!data || count < 2 || size > std::numeric_limits<int>::max() || !readHeaders(data, size, layout) ||
        !findRestarts(data, size, layout))
        return {};
    const int rows = layout.mcuRows();
    const int minMcuRows = std::max(1, (minRows + layout.mcuHeight - 1) / layout.mcuHeight);

    // A strip begins a row of MCUs early where the colour needs the row
    // above, at the start of an interval whose marker is the eighth, so
    // that its own markers count from 0 without rewriting the frame.
    const int context = layout.verticalContext ? 1 : 0;
    auto startsStrip = [&](int row) {
        return row - context > 0 && layout.cuttableAt(row - context) &&
               layout.intervalsBefore(row - context) % 8 == 0;
    };
    // Boundaries near equal shares.
    QVector<int> bounds{0};
    for (int k = 1; k < count; ++k) {
        const int target = int(qint64(k) * rows / count);
        int chosen = -1;
        for (int distance = 0; distance <= rows && chosen < 0; ++distance) {
            for (int row : {target - distance, target + distance}) {
                if (row >= bounds.last() + minMcuRows && row <= rows - minMcuRows && startsStrip(row)) {
                    chosen = row;
                    break;
                }
            }
        }
        if (chosen > 0)
            bounds.append(chosen);
    }
    if (bounds.size() < 2)
        return {};
    bounds.append(rows);

    QVector<Strip> strips;
    for (int k = 0; k + 1 < bounds.size(); ++k) {
        const int from = k == 0 ? 0 : bounds[k] - context;
        // Ends a row late, at the end of an interval, for the row below.
        int to = std::min(rows, bounds[k + 1] + context);
        while (to < rows && !layout.cuttableAt(to))
            ++to;
        Strip piece = strip(data, layout, from, to);
        piece.firstRow = from * layout.mcuHeight;
        piece.keepFrom = bounds[k] * layout.mcuHeight;
        piece.keepTo = std::min(layout.height, bounds[k + 1] * layout.mcuHeight);
        strips.append(piece);
    }
    return strips;
}
