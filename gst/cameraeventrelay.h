#pragma once

#include <imageacquisition/icontinuouscameramonitor.h>

#include <functional>

namespace Tarvello {

// The layer's monitor client that passes each plug or unplug on to a
// function, on the monitor's own thread; other kinds of event are dropped.
class CameraEventRelay : public ImageAcquisition::IContinuousCameraMonitor::IClient
{
public:
    explicit CameraEventRelay(std::function<void()> onPlugOrUnplug) : m_onPlugOrUnplug(std::move(onPlugOrUnplug)) {}
    void onCameraEvent(ImageAcquisition::ICameraEvent* event) override;

private:
    std::function<void()> m_onPlugOrUnplug;
};

} // namespace Tarvello
