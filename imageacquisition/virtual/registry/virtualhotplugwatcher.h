#pragma once

#include "backend.h"
#include "hotpluglistener.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace ImageAcquisition {

class VirtualRegistry;

// Reports virtual cameras plugged in or out from a thread of its own, as
// a monitor of real devices does, so the receiver meets the same threading.
class VirtualHotplugWatcher : public HotplugWatcher, private HotplugListener
{
public:
    explicit VirtualHotplugWatcher(VirtualRegistry& registry);
    ~VirtualHotplugWatcher() override;

    void start(Report report) override;
    void stop() override;

private:
    void onHotplug(int type) override;
    void run();

    VirtualRegistry& m_registry;
    Report m_report;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<int> m_pending;
    bool m_stop = false;
    std::thread m_thread;
};

} // namespace ImageAcquisition
