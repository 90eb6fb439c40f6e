#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace ImageAcquisition {

// Runs jobs, each at its time, one after the other on a thread of its own.
// For work that must not run on the thread that asks for it (a camera's
// serial console asking to unplug that very camera).
class WorkQueue
{
public:
    using Job = std::function<void()>;

    WorkQueue();
    // Stops the thread; jobs not yet run are dropped.
    ~WorkQueue();

    WorkQueue(const WorkQueue&) = delete;
    WorkQueue& operator=(const WorkQueue&) = delete;

    void post(Job job, std::chrono::milliseconds delay = std::chrono::milliseconds(0));

private:
    using Time = std::chrono::steady_clock::time_point;
    struct Entry
    {
        Time due;
        unsigned long long order;
        Job job;
    };

    void run();

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::vector<Entry> m_jobs;
    unsigned long long m_posted = 0;
    bool m_stop = false;
    std::thread m_thread;
};

} // namespace ImageAcquisition
