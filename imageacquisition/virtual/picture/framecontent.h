#pragma once

#include "cellprints.h"
#include "encoding.h"

namespace ImageAcquisition {

// What a raw frame buffer holds from the last picture rendered into it: the
// background of an encoding, size and lighting, and the overlay drawn on
// top, cell by cell. The next picture in the same buffer then only puts back
// the background and draws again where its overlay draws something else,
// instead of copying the whole frame.
struct FrameContent
{
    bool holds(Encoding e, int w, int h, unsigned version) const
    {
        return valid && e == encoding && w == width && h == height && version == backgroundVersion;
    }

    bool valid = false;
    Encoding encoding = Encoding::Rgb24;
    int width = 0;
    int height = 0;
    unsigned backgroundVersion = 0;
    CellPrints overlay;
};

} // namespace ImageAcquisition
