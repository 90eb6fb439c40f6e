#pragma once

#include <imageacquisition/usbbandwidth.h>

#include <mutex>
#include <vector>

namespace ImageAcquisition {

// The virtual cameras' simulated USB bus, so that a bus without room for
// another stream can be shown and tested without hardware. Off unless
// IMAGEACQUISITION_VIRTUAL_USB_BUS names its capacity in bytes a second
// (a number, optionally followed by k, M or G: "40M"); read anew each time
// it is asked. While it is on, every virtual camera of the process hangs on
// it, a stream reserves its format's share (UsbBandwidth::estimate) when it
// starts and gives it back when it stops, and a stream that does not fit
// is refused with -ENOSPC, as uvcvideo refuses it.
class VirtualUsbBus
{
public:
    static constexpr const char* kCapacityVariable = "IMAGEACQUISITION_VIRTUAL_USB_BUS";

    static VirtualUsbBus& instance();
    // Bytes a second, 0 when the bus is off (no limit).
    static long long capacity();

    // 0, or -ENOSPC when the stream does not fit beside the others. One
    // reservation an owner; a second replaces the first.
    int reserve(const void* owner, const UsbBandwidth::Stream& stream);
    void release(const void* owner);
    // The bus with its streams, owner's own left out; no name while off.
    UsbBandwidth::Bus state(const void* owner) const;

private:
    struct Reservation
    {
        const void* owner;
        UsbBandwidth::Stream stream;
    };

    mutable std::mutex m_mutex;
    std::vector<Reservation> m_reservations;
};

} // namespace ImageAcquisition
