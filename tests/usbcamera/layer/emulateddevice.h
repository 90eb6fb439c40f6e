#pragma once

#include <string>
#include <vector>

namespace Guest {

// The emulated camera as the tests see it from outside: the process that
// serves it (signals unplug and replug it), its log of what it did and the
// frames it sent. Found through KELVANE_DEVICE_PID, KELVANE_DEVICE_LOG and
// KELVANE_DEVICE_FRAMES, which the guest's script sets.
class EmulatedDevice
{
public:
    EmulatedDevice();

    // Lines of the log from the one numbered `since` on, without their time
    // stamps. mark() is the number of the next line to come.
    std::vector<std::string> logSince(std::size_t since) const;
    std::size_t mark() const { return logLines().size(); }
    // Whether a line since `since` starts with text, waiting up to timeoutMs for it.
    bool logged(const std::string& text, std::size_t since, int timeoutMs = 0) const;

    // Pulls the cable (SIGUSR1), or plugs it back in, a fresh power-on
    // (SIGUSR2); true once the device says it did.
    bool unplug() const;
    bool plug() const;

    // The name of the kept frame (000042.mjpg) whose bytes are exactly these,
    // or "" when the device sent no such frame.
    std::string sentFrame(const unsigned char* data, std::size_t size, const std::string& suffix) const;

private:
    std::vector<std::string> logLines() const;
    bool signal(int number, const std::string& expected) const;

    int m_pid = 0;
    std::string m_log;
    std::string m_frames;
};

} // namespace Guest
