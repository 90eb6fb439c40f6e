#include "virtualhotplugwatcher.h"

#include "virtualregistry.h"

namespace ImageAcquisition {

VirtualHotplugWatcher::VirtualHotplugWatcher(VirtualRegistry& registry) : m_registry(registry) {}

VirtualHotplugWatcher::~VirtualHotplugWatcher()
{
    stop();
}

void VirtualHotplugWatcher::start(Report report)
{
    if (m_thread.joinable() || !report)
        return;
    m_report = std::move(report);
    m_stop = false;
    m_thread = std::thread([this] { run(); });
    m_registry.addListener(this);
}

void VirtualHotplugWatcher::stop()
{
    if (!m_thread.joinable())
        return;
    m_registry.removeListener(this);
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
        m_pending.clear();
    }
    m_wake.notify_all();
    m_thread.join();
}

void VirtualHotplugWatcher::onHotplug(int type)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_pending.push_back(type);
    m_wake.notify_all();
}

void VirtualHotplugWatcher::run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_stop || !m_pending.empty(); });
        if (m_stop)
            return;
        const int type = m_pending.front();
        m_pending.pop_front();
        // Reported without the lock: the receiver may take its time, and
        // stop() waits for it to return.
        lock.unlock();
        m_report(type);
        lock.lock();
    }
}

} // namespace ImageAcquisition
