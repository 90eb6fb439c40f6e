#include "continuouscameramonitor.h"

#include "cameraevent.h"

namespace ImageAcquisition {

ContinuousCameraMonitor::ContinuousCameraMonitor(
    std::vector<std::unique_ptr<HotplugWatcher>> watchers)
    : m_watchers(std::move(watchers))
{
}

ContinuousCameraMonitor::~ContinuousCameraMonitor()
{
    stop();
}

void ContinuousCameraMonitor::start(IClient* client)
{
    if (m_started || !client)
        return;
    m_client = client;
    m_started = true;
    for (auto& watcher : m_watchers)
        watcher->start([this](int type) { report(type); });
}

void ContinuousCameraMonitor::stop()
{
    if (!m_started)
        return;
    for (auto& watcher : m_watchers)
        watcher->stop();
    m_started = false;
    m_client = nullptr;
}

void ContinuousCameraMonitor::report(int type)
{
    std::lock_guard<std::mutex> lock(m_reportMutex);
    if (m_client)
        m_client->onCameraEvent(new CameraEvent(type));
}

} // namespace ImageAcquisition
