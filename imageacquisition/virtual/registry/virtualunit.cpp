#include "virtualunit.h"

#include "monotonicclock.h"
#include "virtualusbbus.h"

#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace ImageAcquisition {

namespace {

std::string serialNumberOf(int number)
{
    char text[32];
    std::snprintf(text, sizeof text, "KVV-%06d", number);
    return text;
}

} // namespace

VirtualUnit::VirtualUnit(int number, HotplugRequest hotplug)
    : m_number(number),
      m_serialNumber(serialNumberOf(number)),
      m_state(&monotonicNanoseconds),
      m_hotplug(std::move(hotplug))
{
    auto terminal = std::make_unique<PseudoTerminal>();
    if (terminal->isOpen()) {
        m_console = std::make_unique<SerialConsole>(
            std::move(terminal), banner(), [this] { return m_state.statusLine(); },
            [this](const std::string& line) { return command(line); });
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

std::string VirtualUnit::command(const std::string& line)
{
    std::string word;
    for (char c : line) {
        if (c != ' ' && c != '\t')
            word += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    if (word.empty() || word == "status")
        return m_state.statusLine() + "\r\n";
    if (word == "help")
        return "commands: status, reset, reboot, unplug, plug (another camera), damage N (frames), help\r\n";
    if (word.rfind("damage", 0) == 0) {
        char* end = nullptr;
        const long count = std::strtol(word.c_str() + 6, &end, 10);
        if (word.size() == 6 || *end != '\0' || count < 0 || count > 1000000)
            return "damage takes a number of frames\r\n";
        damageFrames(static_cast<int>(count));
        return "damaging the next " + std::to_string(count) + " frames\r\n";
    }
    if (word == "reset") {
        reset();
        return "";
    }
    if (word == "reboot" || word == "unplug" || word == "plug") {
        if (m_hotplug)
            m_hotplug(m_number, word);
        if (word == "plug")
            return "plugging in another camera\r\n";
        return word == "reboot" ? "rebooting\r\n" : "unplugging\r\n";
    }
    return "unknown command '" + line + "'; try help\r\n";
}

void VirtualUnit::unplug()
{
    {
        // Under the waiters' lock, so that none of them misses the change
        // between looking at the flag and going to sleep.
        std::lock_guard<std::mutex> lock(m_waitMutex);
        m_plugged = false;
    }
    m_unplugSignal.notify_all();
    // A camera that leaves the bus frees what its stream held there.
    VirtualUsbBus::instance().release(this);
    m_state.detach();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_link.reset();
    }
    // Not under the lock: the console's thread may be waiting for it.
    if (m_console)
        m_console->silence();
}

bool VirtualUnit::sleepUntilUnplugged(long long deadlineNs)
{
    // libstdc++'s steady clock is CLOCK_MONOTONIC, the clock of deadlineNs.
    const std::chrono::steady_clock::time_point deadline{std::chrono::nanoseconds(deadlineNs)};
    std::unique_lock<std::mutex> lock(m_waitMutex);
    return m_unplugSignal.wait_until(lock, deadline, [this] { return !m_plugged; });
}

bool VirtualUnit::takeDamagedFrame()
{
    int left = m_damagedFrames.load();
    while (left > 0 && !m_damagedFrames.compare_exchange_weak(left, left - 1)) {
    }
    return left > 0;
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
    return m_console ? m_console->path() : std::string();
}

void VirtualUnit::announce()
{
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
