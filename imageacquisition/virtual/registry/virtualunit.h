#pragma once

#include "devicelink.h"
#include "devicestate.h"
#include "serialconsole.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace ImageAcquisition {

// One simulated piece of hardware, from being plugged in until it is
// unplugged and the last camera object opened on it is gone: its identity,
// its registers and its serial line.
class VirtualUnit
{
public:
    static constexpr const char* kSerialDevicePath = "/dev/ttyACM0";

    // What the unit asks of whoever plugged it in when told on its serial
    // line to "reboot", "unplug" or "plug" (another camera). Called on the
    // serial console's thread; the work must be done elsewhere.
    using HotplugRequest = std::function<void(int number, const std::string& request)>;

    VirtualUnit(int number, HotplugRequest hotplug);
    ~VirtualUnit();

    VirtualUnit(const VirtualUnit&) = delete;
    VirtualUnit& operator=(const VirtualUnit&) = delete;

    int number() const { return m_number; }
    const std::string& serialNumber() const { return m_serialNumber; }
    DeviceState& state() { return m_state; }

    bool isPlugged() const { return m_plugged; }
    void unplug();
    // Sleeps until deadlineNs (monotonic clock) or until the unit is
    // unplugged, whichever comes first; true when it is unplugged.
    bool sleepUntilUnplugged(long long deadlineNs);

    // Links kSerialDevicePath to this unit's serial line, where the machine
    // allows it. True when the link is (now) this unit's.
    bool linkSerialLine();
    bool hasSerialLink() const;
    // The pseudo-terminal's own path; empty when it could not be made.
    std::string serialLinePath() const;

    // The next count frames are damaged (see VirtualCameras::damageFrames).
    void damageFrames(int count) { m_damagedFrames = count < 0 ? 0 : count; }
    // True when the frame being made is one of them; counts it.
    bool takeDamagedFrame();
    // Banner on the serial line, as when the camera starts.
    void announce();
    void reset();

    // A camera object that streams has the buffers; another is refused
    // until it lets go, as a video device allows one streaming user.
    bool claimStream(const void* owner);
    void releaseStream(const void* owner);

private:
    std::string banner() const;
    std::string command(const std::string& line);

    const int m_number;
    const std::string m_serialNumber;
    DeviceState m_state;
    std::atomic<bool> m_plugged{true};
    std::atomic<int> m_damagedFrames{0};
    HotplugRequest m_hotplug;

    // Set in the constructor, gone in the destructor; declared after m_state,
    // which the console reads from its thread.
    std::unique_ptr<SerialConsole> m_console;

    mutable std::mutex m_mutex; // for the link and the stream owner
    std::mutex m_waitMutex;
    std::condition_variable m_unplugSignal;
    std::unique_ptr<DeviceLink> m_link;
    const void* m_streamOwner = nullptr;
};

} // namespace ImageAcquisition
