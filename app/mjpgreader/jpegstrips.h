#pragma once

#include <QByteArray>
#include <QVector>

// Cuts a baseline JPEG whose restart intervals fall on rows of MCUs into
// horizontal strips, each a JPEG of its own that decodes independently of
// the others: a restart marker resets the coder, so the coded data between
// two markers needs nothing from before them.
//
// Where the colour is subsampled vertically, a row of pixels at a strip's
// edge is smoothed with colour samples from beyond it; each strip then
// carries one more row of MCUs on either side, decoded and thrown away, so
// that the rows it keeps come out exactly as in the whole picture.
class JpegStrips
{
public:
    // A strip is the frame's headers with the strip's height, followed by a
    // stretch of the frame's coded data (not copied: the frame must outlive
    // the strip) and the end-of-image marker.
    struct Strip
    {
        QByteArray headers;
        const uchar* coded = nullptr;
        qint64 codedSize = 0;
        int firstRow = 0; // the picture's row of the strip's first decoded row
        int keepFrom = 0; // rows of the picture that this strip writes: [keepFrom, keepTo)
        int keepTo = 0;
    };

    // Up to count strips of the frame, at least minRows rows of pixels each,
    // cut where the restart markers of a strip count from 0 as they must;
    // empty when the frame cannot be cut (not baseline, no suitable restart
    // intervals, too small, or not laid out as its header says).
    static QVector<Strip> cut(const uchar* data, qint64 size, int count, int minRows);
};
