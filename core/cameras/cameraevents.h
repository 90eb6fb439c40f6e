#pragma once

#include <imageacquisition/icontinuouscameramonitor.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>

namespace Tarvello {

// The layer's hot-plug reports, handed over from the layer's thread: the
// callback only queues the event's type and wakes whoever waits, so that
// no code of the front-end (Python's, say) ever runs on that thread. Watching starts on construction
// and stops on destruction (or stop()).
class CameraEvents : private ImageAcquisition::IContinuousCameraMonitor::IClient
{
public:
    using Clock = std::chrono::steady_clock;

    CameraEvents();
    ~CameraEvents() override;
    CameraEvents(const CameraEvents&) = delete;
    CameraEvents& operator=(const CameraEvents&) = delete;

    // Ends the watching and wakes every waiter; safe while another thread
    // waits in waitFor().
    void stop();
    bool isWatching() const { return !m_stopped; }

    // The oldest queued event (ICameraEvent::Type), if any.
    std::optional<int> take();
    // How many removals were reported so far; a stream compares it with
    // the count it saw last.
    unsigned long long removals() const;
    // Blocks until an event arrives, the watching stops or limit passes.
    void waitFor(Clock::duration limit);

private:
    void onCameraEvent(ImageAcquisition::ICameraEvent* event) override;

    mutable std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::deque<int> m_queue;
    unsigned long long m_removals = 0;
    unsigned long long m_arrivals = 0;
    std::atomic<bool> m_stopped{false};
    std::unique_ptr<ImageAcquisition::IContinuousCameraMonitor> m_monitor;
};

} // namespace Tarvello
