#pragma once

#include "backend.h"

#include <imageacquisition/icontinuouscameramonitor.h>

#include <memory>
#include <mutex>
#include <vector>

namespace ImageAcquisition {

// Merges the hot-plug reports of every backend into one stream of events
// for one client.
class ContinuousCameraMonitor : public IContinuousCameraMonitor
{
public:
    explicit ContinuousCameraMonitor(std::vector<std::unique_ptr<HotplugWatcher>> watchers);
    ~ContinuousCameraMonitor() override;

    void start(IClient* client) override;
    void stop() override;

private:
    void report(int type);

    std::vector<std::unique_ptr<HotplugWatcher>> m_watchers;
    // Serialises reports from several watcher threads, so the client sees
    // one event at a time.
    std::mutex m_reportMutex;
    IClient* m_client = nullptr;
    bool m_started = false;
};

} // namespace ImageAcquisition
