#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

// Order statistics of a set of measurements (nearest rank).
inline double percentile(std::vector<double> samples, double p)
{
    if (samples.empty())
        return 0.0;
    std::sort(samples.begin(), samples.end());
    const double rank = std::ceil(p / 100.0 * double(samples.size()));
    const size_t index = static_cast<size_t>(std::clamp(rank, 1.0, double(samples.size()))) - 1;
    return samples[index];
}

inline double median(const std::vector<double>& samples)
{
    return percentile(samples, 50.0);
}
