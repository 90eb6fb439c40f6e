#include "workqueue.h"

#include <algorithm>

namespace ImageAcquisition {

WorkQueue::WorkQueue()
{
    m_thread = std::thread([this] { run(); });
}

WorkQueue::~WorkQueue()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

void WorkQueue::post(Job job, std::chrono::milliseconds delay)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_jobs.push_back({std::chrono::steady_clock::now() + delay, m_posted++, std::move(job)});
    m_wake.notify_all();
}

void WorkQueue::run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stop) {
        if (m_jobs.empty()) {
            m_wake.wait(lock);
            continue;
        }
        // The earliest due; of equal times, the first posted.
        auto next = std::min_element(m_jobs.begin(), m_jobs.end(), [](const Entry& a, const Entry& b) {
            return a.due < b.due || (a.due == b.due && a.order < b.order);
        });
        if (next->due > std::chrono::steady_clock::now()) {
            m_wake.wait_until(lock, next->due);
            continue;
        }
        Job job = std::move(next->job);
        m_jobs.erase(next);
        lock.unlock();
        job();
        lock.lock();
    }
}

} // namespace ImageAcquisition
