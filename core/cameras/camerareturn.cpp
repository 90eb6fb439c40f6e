#include "camerareturn.h"

#include "badinput.h"
#include "cameraselector.h"

#include <algorithm>

namespace Tarvello {

namespace {

// Hot-plug reports wake the wait; the list is looked at this often anyway,
// should a report be missed (a layer without one for some backend).
constexpr auto kListAtLeastEvery = std::chrono::milliseconds(1000);
constexpr auto kCancelCheck = std::chrono::milliseconds(250);

} // namespace

CameraReturn::CameraReturn(const CameraEntry& camera) : m_serial(camera.serial)
{
    if (m_serial.isEmpty())
        throw BadInput(QString("%1 has no serial number, so it could not be told from another camera when it "
                               "comes back.")
                           .arg(camera.name));
}

std::optional<CameraEntry> CameraReturn::listed() const
{
    for (const CameraEntry& camera : CameraSelector::presentCameras()) {
        if (camera.serial == m_serial)
            return camera;
    }
    return std::nullopt;
}

std::optional<CameraEntry> CameraReturn::wait(std::optional<std::chrono::milliseconds> limit,
                                              const std::function<bool()>& cancelled)
{
    using Clock = CameraEvents::Clock;
    // No limit: a deadline that never comes.
    const Clock::time_point deadline = limit ? Clock::now() + *limit : Clock::time_point::max();
    Clock::time_point nextList = Clock::now();
    for (;;) {
        const Clock::time_point now = Clock::now();
        const bool reported = m_events.take().has_value();
        if (reported || now >= nextList) {
            while (m_events.take()) {
            }
            if (std::optional<CameraEntry> back = listed())
                return back;
            nextList = Clock::now() + kListAtLeastEvery;
        }
        if (Clock::now() >= deadline || (cancelled && cancelled()))
            return std::nullopt;
        const Clock::duration pause =
            std::min<Clock::duration>({kCancelCheck, nextList - Clock::now(), deadline - Clock::now()});
        m_events.waitFor(std::max<Clock::duration>(pause, Clock::duration::zero()));
    }
}

} // namespace Tarvello
