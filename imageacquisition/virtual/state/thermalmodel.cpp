#include "thermalmodel.h"

#include <algorithm>
#include <cmath>

namespace ImageAcquisition {

namespace {
constexpr double kTimeConstant = 45.0; // seconds
constexpr double kStreamingHeat = 9.0; // degrees above the room at full load
constexpr double kNoFanHeat = 48.0;
constexpr double kSelfHeat = 3.0; // electronics powered but idle
} // namespace

ThermalModel::ThermalModel(double startSeconds)
    : m_time(startSeconds), m_celsius(ambient(startSeconds) + kSelfHeat)
{
}

double ThermalModel::ambient(double t)
{
    // A room whose temperature wanders by a few tenths of a degree, so the
    // reading is never quite still.
    return 31.0 + 0.4 * std::sin(t * 2.0 * M_PI / 97.0);
}

void ThermalModel::advance(double t, double load, bool fanOn)
{
    if (t <= m_time)
        return;
    const double dt = t - m_time;
    m_time = t;
    const double target =
        ambient(t) + kSelfHeat + kStreamingHeat * std::clamp(load, 0.0, 1.0) + (fanOn ? 0.0 : kNoFanHeat);
    m_celsius += (target - m_celsius) * (1.0 - std::exp(-dt / kTimeConstant));
}

} // namespace ImageAcquisition
