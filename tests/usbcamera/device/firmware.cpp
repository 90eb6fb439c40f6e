#include "firmware.h"

#include <imageacquisition/kelvane.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace UsbCamera {

namespace {

namespace Xu = ImageAcquisition::KelvaneExtensionUnit;

constexpr int kManualExposure = 0x01;
constexpr std::int32_t kNominalExposure = 100; // 10 ms in 100 us units
// The colour temperature of the lamp the camera looks at.
constexpr std::int32_t kSceneKelvin = 4600;
constexpr double kTriggerTimeout = 1.0;
constexpr int kOneShotFrames = 5;

// Halves the distance to target, in whole steps, so that an automatic mode
// settles over a few frames the way a control loop does.
std::int32_t approach(std::int32_t current, std::int32_t target, std::int32_t step)
{
    const std::int32_t half = (target - current) / 2 / step * step;
    return half == 0 ? target : current + half;
}

} // namespace

Firmware::Firmware(double now) : m_bornTime(now), m_thermal(now)
{
    reset(now);
}

void Firmware::reset(double now)
{
    update(now);
    for (const UvcControl& control : ControlTable::all())
        value(control.reg) = control.defaultValue;
    m_errors = 0;
    m_pendingTriggers = 0;
    m_triggerFrames = 0;
}

void Firmware::update(double now)
{
    m_thermal.advance(now, m_streaming ? m_load : 0.0, value(Register::CoolingFan) != 0);
    if (m_thermal.celsius() > ImageAcquisition::ThermalModel::kOverTemperature)
        m_errors |= Xu::ErrorOverTemperature;
    // A one-shot adjustment needs frames to measure; without them it gives up.
    if (m_pendingTriggers && now - m_triggerTime > kTriggerTimeout) {
        m_pendingTriggers = 0;
        m_errors |= Xu::ErrorTriggerTimeout;
    }
}

std::int32_t Firmware::read(Register reg, double now)
{
    update(now);
    switch (reg) {
    case Register::Temperature:
        return static_cast<std::int32_t>(std::lround(m_thermal.celsius() * 100.0));
    case Register::ErrorStatus:
        return static_cast<std::int32_t>(m_errors);
    case Register::TriggerAuto:
        return static_cast<std::int32_t>(m_pendingTriggers);
    default:
        return value(reg);
    }
}

RequestError Firmware::write(Register reg, std::int32_t newValue, double now)
{
    update(now);
    switch (reg) {
    case Register::Temperature:
        return RequestError::InvalidRequest;
    case Register::ErrorStatus:
        // Like a hardware status register: each bit written as 1 is cleared.
        m_errors &= ~static_cast<std::uint32_t>(newValue);
        return RequestError::None;
    case Register::TriggerAuto: {
        const auto mask = static_cast<std::uint32_t>(newValue);
        if (mask & static_cast<std::uint32_t>(value(Register::LockAuto)))
            return RequestError::WrongState;
        if (mask == 0)
            return RequestError::None;
        if (m_pendingTriggers == 0)
            m_triggerTime = now;
        m_pendingTriggers |= mask;
        m_triggerFrames = 0;
        return RequestError::None;
    }
    case Register::AutoExposureMode:
        // One mode at a time, and only the ones GET_RES offers.
        if (newValue != kManualExposure && newValue != (ControlTable::of(reg).resolution & ~kManualExposure))
            return RequestError::OutOfRange;
        break;
    case Register::ExposureTime:
        // Set by the camera while an automatic mode runs.
        if (value(Register::AutoExposureMode) != kManualExposure)
            return RequestError::WrongState;
        break;
    case Register::WhiteBalanceTemperature:
        if (value(Register::WhiteBalanceAuto))
            return RequestError::WrongState;
        break;
    default:
        break;
    }
    value(reg) = newValue;
    return RequestError::None;
}

std::int32_t Firmware::exposureTarget() const
{
    const double gainFactor = 1.0 + value(Register::Gain) / 25.0;
    const UvcControl& exposure = ControlTable::of(Register::ExposureTime);
    return std::clamp(static_cast<std::int32_t>(std::lround(kNominalExposure / gainFactor)), exposure.minimum,
                      exposure.maximum);
}

void Firmware::streamStarted(const std::string& description, double load, double now)
{
    update(now);
    m_streaming = true;
    m_load = load;
    m_streamDescription = description;
}

void Firmware::streamStopped(double now)
{
    update(now);
    m_streaming = false;
    m_streamDescription.clear();
}

void Firmware::finishOneShots()
{
    if (m_pendingTriggers & Xu::AutoExposure)
        value(Register::ExposureTime) = exposureTarget();
    if (m_pendingTriggers & Xu::AutoWhiteBalance)
        value(Register::WhiteBalanceTemperature) = kSceneKelvin;
    // This camera has a fixed-focus lens: a focus one-shot has nothing to move.
    m_pendingTriggers = 0;
    m_triggerFrames = 0;
}

void Firmware::frameProduced(double now)
{
    update(now);
    const auto locked = static_cast<std::uint32_t>(value(Register::LockAuto));
    if (value(Register::AutoExposureMode) != kManualExposure && !(locked & Xu::AutoExposure))
        value(Register::ExposureTime) = approach(value(Register::ExposureTime), exposureTarget(), 1);
    if (value(Register::WhiteBalanceAuto) && !(locked & Xu::AutoWhiteBalance)) {
        const std::int32_t step = ControlTable::of(Register::WhiteBalanceTemperature).resolution;
        value(Register::WhiteBalanceTemperature) = approach(value(Register::WhiteBalanceTemperature), kSceneKelvin, step);
    }
    if (m_pendingTriggers && ++m_triggerFrames >= kOneShotFrames)
        finishOneShots();
}

PictureSettings Firmware::picture() const
{
    PictureSettings s;
    s.brightness = value(Register::Brightness);
    s.contrast = value(Register::Contrast);
    s.gain = value(Register::Gain);
    s.exposure = value(Register::ExposureTime);
    s.whiteBalanceKelvin = value(Register::WhiteBalanceTemperature);
    return s;
}

std::string Firmware::statusLine(double now)
{
    update(now);
    char line[160];
    std::snprintf(line, sizeof line, "[%9.1f] temp %.2f C, errors 0x%08x, %s", now - m_bornTime, m_thermal.celsius(),
                  m_errors, m_streaming ? ("streaming " + m_streamDescription).c_str() : "idle");
    return line;
}

} // namespace UsbCamera
