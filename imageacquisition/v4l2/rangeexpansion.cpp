#include "rangeexpansion.h"

namespace ImageAcquisition {

namespace {

const RangeExpansion::Size kCommonSizes[] = {
    {160, 120},   {176, 144},   {320, 180},   {320, 240},   {352, 288},   {424, 240},
    {640, 360},   {640, 480},   {800, 448},   {800, 600},   {848, 480},   {960, 540},
    {1024, 576},  {1024, 768},  {1280, 720},  {1280, 800},  {1280, 960},  {1280, 1024},
    {1600, 900},  {1600, 1200}, {1920, 1080}, {1920, 1200}, {2560, 1440}, {3840, 2160},
    {4096, 2160},
};

const unsigned kCommonRates[] = {120, 90, 60, 50, 30, 25, 24, 20, 15, 10, 5, 2, 1};

bool onStep(unsigned value, unsigned minimum, unsigned maximum, unsigned step)
{
    if (value < minimum || value > maximum)
        return false;
    return step <= 1 || (value - minimum) % step == 0;
}

using u64 = unsigned long long;

// a/b <= c/d for positive denominators.
bool notAbove(u64 a, u64 b, u64 c, u64 d)
{
    return a * d <= c * b;
}

} // namespace

std::vector<RangeExpansion::Size> RangeExpansion::sizes(const v4l2_frmsize_stepwise& range)
{
    std::vector<Size> result;
    for (const Size& size : kCommonSizes) {
        if (onStep(size.width, range.min_width, range.max_width, range.step_width)
            && onStep(size.height, range.min_height, range.max_height, range.step_height))
            result.push_back(size);
    }
    if (result.empty() && range.max_width > 0 && range.max_height > 0)
        result.push_back({range.max_width, range.max_height});
    return result;
}

std::vector<RangeExpansion::Interval> RangeExpansion::intervals(const v4l2_frmival_stepwise& range,
                                                                bool continuous)
{
    std::vector<Interval> result;
    const v4l2_fract& low = range.min;
    const v4l2_fract& high = range.max;
    const v4l2_fract& step = range.step;
    if (low.denominator == 0 || high.denominator == 0 || low.numerator == 0)
        return result;
    for (unsigned rate : kCommonRates) {
        // The period 1/rate, inside [low, high].
        if (!notAbove(low.numerator, low.denominator, 1, rate)
            || !notAbove(1, rate, high.numerator, high.denominator))
            continue;
        if (!continuous && step.numerator != 0 && step.denominator != 0) {
            // (1/rate - low) / step must be whole:
            // (low.den - rate * low.num) * step.den / (rate * low.den * step.num).
            u64 difference = low.denominator - u64(rate) * low.numerator;
            u64 numerator = difference * step.denominator;
            u64 denominator = u64(rate) * low.denominator * step.numerator;
            if (numerator % denominator != 0)
                continue;
        }
        result.push_back({1, rate});
    }
    if (result.empty())
        result.push_back({low.numerator, low.denominator});
    return result;
}

} // namespace ImageAcquisition
