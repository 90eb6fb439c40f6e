#pragma once

#include "controlid.h"
#include "imagesettings.h"
#include "thermalmodel.h"

#include <array>
#include <functional>
#include <mutex>
#include <string>

namespace ImageAcquisition {

// What a control reads back from the camera.
struct ControlReading
{
    long long value = 0;
    std::string text;
    bool disabled = false;
    bool grabbed = false;
    bool readOnly = false;
    bool inactive = false;
};

// The registers of one virtual camera and what the camera does by itself:
// auto exposure, one-shot adjustments, heat, error bits. It lives as long
// as the camera is plugged in (and while an open camera object still holds
// it), so settings survive closing and reopening the camera, as they do on
// real hardware.
//
// Thread-safe: the camera uses it from the application's thread and the
// serial console reads it from its own.
class DeviceState
{
public:
    using Clock = std::function<long long()>; // monotonic nanoseconds

    explicit DeviceState(Clock clock);

    ControlReading read(ControlId id);
    // Writes that the camera refuses throw AssertFailureException.
    void write(ControlId id, long long value);
    void writeText(ControlId id, const std::string& text);
    void press(ControlId id);

    // Soft reset: every control to its default, errors and one-shots cleared.
    void reset();
    // The device is gone: from now on every write is refused.
    void detach();
    bool isAttached() const;

    // load: the share of the sensor's full pixel rate the stream uses (0 .. 1).
    void streamStarted(const std::string& description, double load);
    void streamStopped();
    // Called once for each frame the camera produces; runs the automatic
    // adjustments and returns what the picture shows.
    ImageSettings frameProduced();
    // What the picture shows now, without running anything.
    ImageSettings settings();

    // One line of the serial console's periodic report, without line end.
    std::string statusLine();

private:
    void update(long long now);
    ControlReading readLocked(ControlId id) const;
    void checkWritable(ControlId id) const;
    long long& value(ControlId id) { return m_values[static_cast<size_t>(id)]; }
    long long value(ControlId id) const { return m_values[static_cast<size_t>(id)]; }
    long long autoExposureTarget() const;
    void writeTrigger(unsigned mask, long long now);
    void finishOneShots();
    ImageSettings settingsLocked() const;
    void restoreDefaults();

    Clock m_clock;
    mutable std::mutex m_mutex;
    std::array<long long, kControlCount> m_values{};
    std::string m_overlayText;
    unsigned m_errors = 0;
    unsigned m_pendingTriggers = 0;
    long long m_triggerNs = 0;
    int m_triggerFrames = 0;
    bool m_attached = true;
    bool m_streaming = false;
    double m_load = 0.0;
    std::string m_streamDescription;
    unsigned long long m_sequenceGeneration = 0;
    long long m_bornNs;
    ThermalModel m_thermal;
};

} // namespace ImageAcquisition
