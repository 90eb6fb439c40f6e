#pragma once

#include "controltable.h"
#include "picturesettings.h"
#include "requesterror.h"

#include "thermalmodel.h"

#include <array>
#include <cstdint>
#include <string>

namespace UsbCamera {

// The camera's registers and what its firmware does by itself, with the
// same meaning as on the layer's virtual camera: exposure and white balance
// that follow the scene in their automatic modes, one-shot adjustments over
// a few frames (they time out without frames), locks that freeze them,
// error bits that stay until written, and a sensor board that heats up
// while streaming and, without its fan, until it reports over-temperature.
// Times are seconds on the monotonic clock.
class Firmware
{
public:
    explicit Firmware(double now);

    std::int32_t read(Register reg, double now);
    // The value is in range already (the control request checked it).
    RequestError write(Register reg, std::int32_t value, double now);

    // Soft reset: every control to its default, errors and one-shots cleared.
    void reset(double now);

    // load: the share of the sensor's full pixel rate the stream uses (0 .. 1).
    void streamStarted(const std::string& description, double load, double now);
    void streamStopped(double now);
    // Runs the automatic adjustments once for a frame the sensor delivered.
    void frameProduced(double now);
    PictureSettings picture() const;

    // The serial console's periodic report, without line end.
    std::string statusLine(double now);

private:
    void update(double now);
    std::int32_t& value(Register reg) { return m_values[static_cast<std::size_t>(reg)]; }
    std::int32_t value(Register reg) const { return m_values[static_cast<std::size_t>(reg)]; }
    std::int32_t exposureTarget() const;
    void finishOneShots();

    std::array<std::int32_t, kRegisterCount> m_values{};
    std::uint32_t m_errors = 0;
    std::uint32_t m_pendingTriggers = 0;
    double m_triggerTime = 0.0;
    int m_triggerFrames = 0;
    bool m_streaming = false;
    double m_load = 0.0;
    std::string m_streamDescription;
    double m_bornTime;
    ImageAcquisition::ThermalModel m_thermal;
};

} // namespace UsbCamera
