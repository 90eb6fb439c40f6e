#include "devicestate.h"

#include "controldefinition.h"

#include <assertfailureexception.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace ImageAcquisition {

namespace {

constexpr long long kNominalExposureUs = 10000;
constexpr int kBestFocus = 512;
constexpr int kFocusTolerance = 64;
constexpr int kNeutralWhiteBalance = 5000;
constexpr long long kTriggerTimeoutNs = 1000000000LL;
constexpr int kOneShotFrames = 5;

double seconds(long long ns)
{
    return static_cast<double>(ns) / 1e9;
}

std::string functionNames(unsigned mask)
{
    std::string names;
    const std::pair<unsigned, const char*> functions[] = {
        {AutoExposure, "exposure"}, {AutoFocus, "focus"}, {AutoWhiteBalance, "white balance"}};
    for (const auto& [bit, name] : functions) {
        if (mask & bit)
            names += (names.empty() ? "" : ", ") + std::string(name);
    }
    return names;
}

double gainFactor(long long gain)
{
    return 1.0 + static_cast<double>(gain) / 25.0;
}

} // namespace

DeviceState::DeviceState(Clock clock)
    : m_clock(std::move(clock)), m_bornNs(m_clock()), m_thermal(seconds(m_bornNs))
{
    restoreDefaults();
}

void DeviceState::restoreDefaults()
{
    for (int i = 0; i < kControlCount; ++i) {
        const ControlDefinition& definition = controlDefinition(static_cast<ControlId>(i));
        m_values[static_cast<size_t>(i)] = definition.defaultValue;
    }
    m_overlayText = controlDefinition(ControlId::OverlayText).defaultText;
    m_errors = 0;
    m_pendingTriggers = 0;
    m_triggerFrames = 0;
}

void DeviceState::update(long long now)
{
    m_thermal.advance(seconds(now), m_streaming ? m_load : 0.0, value(ControlId::CoolingFan) != 0);
    if (m_thermal.celsius() > ThermalModel::kOverTemperature)
        m_errors |= ErrorOverTemperature;
    // A one-shot adjustment needs frames to measure; without them it gives up.
    if (m_pendingTriggers && now - m_triggerNs > kTriggerTimeoutNs) {
        m_pendingTriggers = 0;
        m_errors |= ErrorTriggerTimeout;
    }
}

ControlReading DeviceState::read(ControlId id)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    update(m_clock());
    return readLocked(id);
}

ControlReading DeviceState::readLocked(ControlId id) const
{
    ControlReading reading;
    switch (id) {
    case ControlId::Temperature:
        reading.value = std::lround(m_thermal.celsius() * 100.0);
        break;
    case ControlId::ErrorStatus:
        reading.value = static_cast<int>(m_errors);
        break;
    case ControlId::TriggerAuto:
        reading.value = m_pendingTriggers;
        break;
    default:
        reading.value = value(id);
        break;
    }
    if (id == ControlId::OverlayText)
        reading.text = m_overlayText;
    reading.readOnly = id == ControlId::Temperature || id == ControlId::OverlayElements;
    reading.inactive = id == ControlId::ExposureTime && value(ControlId::ExposureAuto) != 0;
    reading.grabbed = id == ControlId::LinkFrequency && m_streaming;
    return reading;
}

void DeviceState::checkWritable(ControlId id) const
{
    const ControlDefinition& definition = controlDefinition(id);
    ASSERT_OR_THROW(m_attached, std::string(definition.name) + ": the camera has been unplugged");
    const ControlReading reading = readLocked(id);
    ASSERT_OR_THROW(!reading.readOnly, std::string(definition.name) + " is read-only");
    ASSERT_OR_THROW(!reading.inactive, std::string(definition.name)
                                           + " is set by the camera while Exposure, Auto is on; "
                                             "turn Exposure, Auto off first");
    ASSERT_OR_THROW(!reading.grabbed,
                    std::string(definition.name) + " cannot change while the camera streams; stop the stream first");
}

void DeviceState::write(ControlId id, long long newValue)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const long long now = m_clock();
    update(now);
    checkWritable(id);
    const ControlDefinition& definition = controlDefinition(id);
    ASSERT_OR_THROW(definition.type != ICameraControl::TypeString && definition.type != ICameraControl::TypeButton,
                    std::string(definition.name) + " takes no number");

    if (id == ControlId::ErrorStatus) {
        // Like a hardware status register: each bit written as 1 is cleared.
        m_errors &= ~static_cast<unsigned>(newValue);
        return;
    }
    ASSERT_OR_THROW(newValue >= definition.minimum && newValue <= definition.maximum,
                    std::string(definition.name) + ": " + std::to_string(newValue) + " is outside the range "
                        + std::to_string(definition.minimum) + " .. " + std::to_string(definition.maximum));
    // Values between steps go to the nearest step, as a driver would do.
    if (definition.step > 1)
        newValue = definition.minimum + (newValue - definition.minimum + definition.step / 2) / definition.step * definition.step;

    if (id == ControlId::TriggerAuto) {
        writeTrigger(static_cast<unsigned>(newValue), now);
        return;
    }
    value(id) = newValue;
}

void DeviceState::writeTrigger(unsigned mask, long long now)
{
    const unsigned locked = mask & static_cast<unsigned>(value(ControlId::LockAuto));
    ASSERT_OR_THROW(locked == 0, "Trigger Auto Controls: " + functionNames(locked)
                                     + " is locked by Lock Auto Controls; unlock it first");
    if (mask == 0)
        return;
    if (m_pendingTriggers == 0)
        m_triggerNs = now;
    m_pendingTriggers |= mask;
    m_triggerFrames = 0;
}

void DeviceState::writeText(ControlId id, const std::string& text)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    update(m_clock());
    checkWritable(id);
    const ControlDefinition& definition = controlDefinition(id);
    ASSERT_OR_THROW(definition.type == ICameraControl::TypeString, std::string(definition.name) + " takes no text");
    const long long length = static_cast<long long>(text.size());
    ASSERT_OR_THROW(length >= definition.minimum && length <= definition.maximum,
                    std::string(definition.name) + ": " + std::to_string(length) + " characters, but "
                        + std::to_string(definition.minimum) + " to " + std::to_string(definition.maximum)
                        + " are allowed");
    for (unsigned char c : text) {
        char hex[8];
        std::snprintf(hex, sizeof hex, "0x%02x", c);
        ASSERT_OR_THROW(c >= 0x20 && c < 0x7f, std::string(definition.name) + ": the character " + hex
                                                   + " cannot be shown; use printable ASCII");
    }
    m_overlayText = text;
}

void DeviceState::press(ControlId id)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    update(m_clock());
    checkWritable(id);
    const ControlDefinition& definition = controlDefinition(id);
    ASSERT_OR_THROW(definition.type == ICameraControl::TypeButton, std::string(definition.name) + " is not a button");
    if (id == ControlId::RestartSequence)
        ++m_sequenceGeneration;
}

void DeviceState::reset()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_attached)
        return;
    update(m_clock());
    restoreDefaults();
    ++m_sequenceGeneration;
}

void DeviceState::detach()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_attached = false;
    m_streaming = false;
}

bool DeviceState::isAttached() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_attached;
}

void DeviceState::streamStarted(const std::string& description, double load)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    update(m_clock());
    m_streaming = true;
    m_load = load;
    m_streamDescription = description;
}

void DeviceState::streamStopped()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    update(m_clock());
    m_streaming = false;
    m_streamDescription.clear();
}

long long DeviceState::autoExposureTarget() const
{
    const ControlDefinition& definition = controlDefinition(ControlId::ExposureTime);
    const double target = kNominalExposureUs / gainFactor(value(ControlId::Gain));
    const long long rounded = std::llround(target / definition.step) * definition.step;
    return std::clamp(rounded, definition.minimum, definition.maximum);
}

void DeviceState::finishOneShots()
{
    if (m_pendingTriggers & AutoExposure)
        value(ControlId::ExposureTime) = autoExposureTarget();
    if (m_pendingTriggers & AutoFocus)
        value(ControlId::Focus) = kBestFocus;
    if (m_pendingTriggers & AutoWhiteBalance)
        value(ControlId::WhiteBalance) = kNeutralWhiteBalance;
    m_pendingTriggers = 0;
    m_triggerFrames = 0;
}

ImageSettings DeviceState::frameProduced()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    update(m_clock());

    const unsigned locked = static_cast<unsigned>(value(ControlId::LockAuto));
    if (value(ControlId::ExposureAuto) && !(locked & AutoExposure)) {
        // Converge over a few frames, the way a real control loop settles.
        long long& exposure = value(ControlId::ExposureTime);
        const long long target = autoExposureTarget();
        const long long step = (target - exposure) / 2;
        exposure = std::abs(step) < 20 ? target : exposure + step / 10 * 10;
    }
    if (m_pendingTriggers && ++m_triggerFrames >= kOneShotFrames)
        finishOneShots();
    if (std::abs(value(ControlId::Focus) - kBestFocus) > kFocusTolerance)
        m_errors |= ErrorNotInFocus;
    return settingsLocked();
}

ImageSettings DeviceState::settings()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    update(m_clock());
    return settingsLocked();
}

ImageSettings DeviceState::settingsLocked() const
{
    ImageSettings s;
    s.brightness = static_cast<int>(value(ControlId::Brightness));
    s.contrast = static_cast<int>(value(ControlId::Contrast));
    s.gain = static_cast<int>(value(ControlId::Gain));
    s.whiteBalance = static_cast<int>(value(ControlId::WhiteBalance));
    s.exposureUs = value(ControlId::ExposureTime);
    s.pattern = static_cast<int>(value(ControlId::TestPattern));
    s.defocus = static_cast<int>(std::abs(value(ControlId::Focus) - kBestFocus));
    s.overlayText = m_overlayText;
    const ControlDefinition& link = controlDefinition(ControlId::LinkFrequency);
    s.linkFrequency = link.valueEntries[static_cast<size_t>(value(ControlId::LinkFrequency))];
    s.temperatureCenti = static_cast<int>(std::lround(m_thermal.celsius() * 100.0));
    s.errors = m_errors;
    s.sequenceGeneration = m_sequenceGeneration;
    return s;
}

std::string DeviceState::statusLine()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const long long now = m_clock();
    update(now);
    char line[160];
    std::snprintf(line, sizeof line, "[%9.1f] temp %.2f C, errors 0x%08x, %s", seconds(now - m_bornNs),
                  m_thermal.celsius(), m_errors,
                  m_streaming ? ("streaming " + m_streamDescription).c_str() : "idle");
    return line;
}

} // namespace ImageAcquisition
