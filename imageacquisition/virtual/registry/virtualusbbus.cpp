#include "virtualusbbus.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string>

namespace ImageAcquisition {

namespace {

constexpr const char* kBusName = "the virtual cameras' USB bus (simulated)";

} // namespace

VirtualUsbBus& VirtualUsbBus::instance()
{
    static VirtualUsbBus bus;
    return bus;
}

long long VirtualUsbBus::capacity()
{
    const char* text = std::getenv(kCapacityVariable);
    if (!text || !*text)
        return 0;
    char* end = nullptr;
    const double number = std::strtod(text, &end);
    double scale = 1;
    if (*end == 'k' || *end == 'K')
        scale = 1e3;
    else if (*end == 'M')
        scale = 1e6;
    else if (*end == 'G')
        scale = 1e9;
    if (scale != 1)
        ++end;
    // Anything else (a typo, a negative number) leaves the bus off rather
    // than refusing every stream.
    if (*end != '\0' || !(number > 0) || number * scale > 1e15)
        return 0;
    return static_cast<long long>(number * scale);
}

int VirtualUsbBus::reserve(const void* owner, const UsbBandwidth::Stream& stream)
{
    const long long limit = capacity();
    std::lock_guard<std::mutex> lock(m_mutex);
    long long held = 0;
    for (const Reservation& reservation : m_reservations) {
        if (reservation.owner != owner)
            held += reservation.stream.bytesPerSecond;
    }
    if (limit > 0 && held + stream.bytesPerSecond > limit)
        return -ENOSPC;
    m_reservations.erase(std::remove_if(m_reservations.begin(), m_reservations.end(),
                                        [owner](const Reservation& r) { return r.owner == owner; }),
                         m_reservations.end());
    m_reservations.push_back({owner, stream});
    return 0;
}

void VirtualUsbBus::release(const void* owner)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_reservations.erase(std::remove_if(m_reservations.begin(), m_reservations.end(),
                                        [owner](const Reservation& r) { return r.owner == owner; }),
                         m_reservations.end());
}

UsbBandwidth::Bus VirtualUsbBus::state(const void* owner) const
{
    UsbBandwidth::Bus bus;
    bus.capacity = capacity();
    if (bus.capacity == 0)
        return bus;
    bus.name = kBusName;
    std::lock_guard<std::mutex> lock(m_mutex);
    for (const Reservation& reservation : m_reservations) {
        if (reservation.owner != owner)
            bus.streams.push_back(reservation.stream);
    }
    return bus;
}

} // namespace ImageAcquisition
