#pragma once

#include <linux/videodev2.h>

#include <vector>

namespace ImageAcquisition {

// Turns the size and interval ranges that some drivers report (stepwise or
// continuous) into the list of common choices inside them, since the
// application offers lists and not ranges.
class RangeExpansion
{
public:
    struct Size
    {
        unsigned width;
        unsigned height;
    };
    struct Interval
    {
        unsigned numerator;
        unsigned denominator;
    };

    // The common sizes that lie in the range and on its steps, smallest
    // first; the largest size of the range when none does.
    static std::vector<Size> sizes(const v4l2_frmsize_stepwise& range);
    // The common frame rates whose periods lie in the range (and on its step
    // unless the range is continuous), shortest period first; the shortest
    // period of the range when none does.
    static std::vector<Interval> intervals(const v4l2_frmival_stepwise& range, bool continuous);
};

} // namespace ImageAcquisition
