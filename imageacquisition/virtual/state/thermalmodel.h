#pragma once

namespace ImageAcquisition {

// The sensor board's temperature: it follows, with a time constant of some
// tens of seconds, a target set by the room (drifting slowly), the work of
// streaming and whether the fan runs.
class ThermalModel
{
public:
    static constexpr double kOverTemperature = 70.0;

    explicit ThermalModel(double startSeconds);

    // Moves the model on to time t (seconds); load (0 .. 1) and fanOn held
    // since the previous call. Times that go back are ignored.
    void advance(double t, double load, bool fanOn);
    double celsius() const { return m_celsius; }

private:
    static double ambient(double t);

    double m_time;
    double m_celsius;
};

} // namespace ImageAcquisition
