#pragma once

#include "virtualframe.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace ImageAcquisition {

// The frame buffers of one stream. A frame handed out stays valid until it
// is given back, even when the buffers are released or reallocated in the
// meantime: such a frame is kept aside and freed when it comes back (or
// with the pool). Frames may come back from another thread than the one
// that takes them (a consumer that is done with a frame while the camera
// draws the next one ahead), so the bookkeeping is locked.
class FramePool
{
public:
    static constexpr int kMaxCount = 16;

    // Replaces the buffers by count new ones of bytes each (count is clamped
    // to 1 .. kMaxCount). The memory is touched now, not by the first frames.
    void allocate(int count, size_t bytes);
    void release();
    bool isAllocated() const;
    int size() const;

    // A free buffer, or null when every buffer is handed out.
    VirtualFrame* acquire();
    // Takes a frame back. False for a pointer that is not a handed-out frame
    // of this pool; such a pointer is never dereferenced.
    bool giveBack(const IFrame* frame);
    int outstanding() const;

private:
    struct Slot
    {
        std::unique_ptr<VirtualFrame> frame;
        bool handedOut = false;
    };

    mutable std::mutex m_mutex;
    std::vector<Slot> m_slots;
    std::vector<std::unique_ptr<VirtualFrame>> m_orphans;
};

} // namespace ImageAcquisition
