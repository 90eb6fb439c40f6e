#include "framepool.h"

#include <algorithm>

namespace ImageAcquisition {

void FramePool::allocate(int count, size_t bytes)
{
    release();
    const std::lock_guard<std::mutex> lock(m_mutex);
    count = std::clamp(count, 1, kMaxCount);
    m_slots.resize(static_cast<size_t>(count));
    for (Slot& slot : m_slots) {
        slot.frame = std::make_unique<VirtualFrame>();
        slot.frame->storage().resize(bytes);
    }
}

void FramePool::release()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (Slot& slot : m_slots) {
        if (slot.handedOut)
            m_orphans.push_back(std::move(slot.frame));
    }
    m_slots.clear();
}

bool FramePool::isAllocated() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return !m_slots.empty();
}

int FramePool::size() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<int>(m_slots.size());
}

VirtualFrame* FramePool::acquire()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (Slot& slot : m_slots) {
        if (!slot.handedOut) {
            slot.handedOut = true;
            return slot.frame.get();
        }
    }
    return nullptr;
}

bool FramePool::giveBack(const IFrame* frame)
{
    if (!frame)
        return false;
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (Slot& slot : m_slots) {
        if (slot.frame.get() == frame) {
            const bool wasOut = slot.handedOut;
            slot.handedOut = false;
            return wasOut;
        }
    }
    auto orphan = std::find_if(m_orphans.begin(), m_orphans.end(),
                               [frame](const std::unique_ptr<VirtualFrame>& f) { return f.get() == frame; });
    if (orphan == m_orphans.end())
        return false;
    m_orphans.erase(orphan);
    return true;
}

int FramePool::outstanding() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    int count = static_cast<int>(m_orphans.size());
    for (const Slot& slot : m_slots)
        count += slot.handedOut ? 1 : 0;
    return count;
}

} // namespace ImageAcquisition
