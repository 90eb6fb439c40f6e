#include "virtualunit.h"

#include "monotonicclock.h"

#include <cstdio>

namespace ImageAcquisition {

namespace {

std::string serialNumberOf(int number)
{
    char text[32];
    std::snprintf(text, sizeof text, "KVV-%06d", number);
    return text;
}

} // namespace

VirtualUnit::VirtualUnit(int number)
    : m_number(number), m_serialNumber(serialNumberOf(number)), m_state(&monotonicNanoseconds)
{
    auto terminal = std::make_unique<PseudoTerminal>();
    if (terminal->isOpen()) {
        m_console = std::make_unique<SerialConsole>(std::move(terminal), banner(),
                                                    [this] { return m_state.statusLine(); });
    } else {
        std::fprintf(stderr, "imageacquisition: virtual camera %d has no serial line: pseudo-terminal error %d\n",
                     number, terminal->error());
    }
}

VirtualUnit::~VirtualUnit()
{
    // The console's thread reads the state; it stops before anything else goes.
    m_console.reset();
}

std::string VirtualUnit::banner() const
{
    return "\r\nKelvane KVC-1080 virtual camera\r\n"
           "Firmware 2.4.1-virtual, serial "
           + m_serialNumber
           + "\r\n"
             "Sensor 1920x1080 GRBG, self test passed\r\n"
             "Ready.\r\n";
}

void VirtualUnit::unplug()
{
    m_plugged = false;
    m_state.detach();
    std::lock_guard<std::mutex> lock(m_mutex);
    m_link.reset();
    if (m_console)
        m_console->silence();
}

bool VirtualUnit::linkSerialLine()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_link)
        return true;
    if (!m_console || !m_plugged)
        return false;
    int error = 0;
    m_link = DeviceLink::create(m_console->path(), kSerialDevicePath, error);
    return m_link != nullptr;
}

bool VirtualUnit::hasSerialLink() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_link != nullptr;
}

std::string VirtualUnit::serialLinePath() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_console ? m_console->path() : std::string();
}

void VirtualUnit::announce()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_console && m_plugged)
        m_console->announce();
}

void VirtualUnit::reset()
{
    if (!m_plugged)
        return;
    m_state.reset();
    announce();
}

bool VirtualUnit::claimStream(const void* owner)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_streamOwner && m_streamOwner != owner)
        return false;
    m_streamOwner = owner;
    return true;
}

void VirtualUnit::releaseStream(const void* owner)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_streamOwner == owner)
        m_streamOwner = nullptr;
}

} // namespace ImageAcquisition
