#pragma once

#include "cameraentry.h"
#include "cameraevents.h"

#include <chrono>
#include <functional>
#include <optional>

namespace Tarvello {

// Waits for a camera that was unplugged to be plugged in again. It is known
// by its serial number: after a replug its node and its place in the list
// may be others.
class CameraReturn
{
public:
    // Watches from now on, so that a camera that comes back while the caller
    // is still busy with its leaving is not missed. Throws BadInput for a
    // camera without a serial number, which could not be told from another.
    explicit CameraReturn(const CameraEntry& camera);

    // The camera's entry once it is listed again; nothing when limit passed
    // first (no limit: as long as it takes) or cancelled() said so, which is
    // asked at least every quarter of a second.
    std::optional<CameraEntry> wait(std::optional<std::chrono::milliseconds> limit,
                                    const std::function<bool()>& cancelled = nullptr);

private:
    std::optional<CameraEntry> listed() const;

    QString m_serial;
    CameraEvents m_events;
};

} // namespace Tarvello
