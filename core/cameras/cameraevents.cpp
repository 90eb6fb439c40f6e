#include "cameraevents.h"

#include <imageacquisition/icamerafactory.h>
#include <imageacquisition/icameraevent.h>

namespace Tarvello {

using namespace ImageAcquisition;

namespace {
// A watcher that nobody reads must not grow without bound.
constexpr size_t kMaxQueued = 1000;
} // namespace

CameraEvents::CameraEvents() : m_monitor(ICameraFactory::getUniqueInstance()->createContinuousCameraMonitor())
{
    if (m_monitor)
        m_monitor->start(this);
    else
        m_stopped = true;
}

CameraEvents::~CameraEvents()
{
    if (m_monitor)
        stop();
}

void CameraEvents::stop()
{
    // The monitor stays until destruction: a second stop() is harmless, and
    // after the first the layer calls no more.
    if (m_stopped.exchange(true))
        return;
    m_monitor->stop();
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_arrivals;
    }
    m_arrived.notify_all();
}

void CameraEvents::onCameraEvent(ICameraEvent* event)
{
    const std::unique_ptr<ICameraEvent> owned(event);
    if (!event)
        return;
    const int type = event->getType();
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (type == ICameraEvent::CameraRemoved)
            ++m_removals;
        if (m_queue.size() >= kMaxQueued)
            m_queue.pop_front();
        m_queue.push_back(type);
        ++m_arrivals;
    }
    m_arrived.notify_all();
}

std::optional<int> CameraEvents::take()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_queue.empty())
        return std::nullopt;
    const int type = m_queue.front();
    m_queue.pop_front();
    return type;
}

unsigned long long CameraEvents::removals() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_removals;
}

void CameraEvents::waitFor(Clock::duration limit)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const unsigned long long seen = m_arrivals;
    m_arrived.wait_for(lock, limit, [&] { return m_arrivals != seen; });
}

} // namespace Tarvello
