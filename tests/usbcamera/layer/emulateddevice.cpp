#include "emulateddevice.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <sys/stat.h>
#include <thread>

namespace Guest {

namespace {

std::string environment(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

// Compared a piece at a time: consecutive frames differ near their start
// already (the marker is on every row), so most files are rejected early.
bool sameBytes(const std::string& path, const unsigned char* data, std::size_t size)
{
    struct stat status{};
    if (::stat(path.c_str(), &status) != 0 || std::size_t(status.st_size) != size)
        return false;
    std::ifstream file(path, std::ios::binary);
    std::vector<char> piece(65536);
    for (std::size_t at = 0; at < size; at += piece.size()) {
        const std::size_t length = std::min(piece.size(), size - at);
        if (!file.read(piece.data(), static_cast<std::streamsize>(length))
            || std::memcmp(piece.data(), data + at, length) != 0)
            return false;
    }
    return true;
}

} // namespace

EmulatedDevice::EmulatedDevice()
    : m_pid(std::atoi(environment("KELVANE_DEVICE_PID").c_str())),
      m_log(environment("KELVANE_DEVICE_LOG")),
      m_frames(environment("KELVANE_DEVICE_FRAMES"))
{
}

std::vector<std::string> EmulatedDevice::logLines() const
{
    std::vector<std::string> lines;
    std::ifstream file(m_log);
    for (std::string line; std::getline(file, line);) {
        // "   12.345 what happened"
        const auto text = line.find_first_not_of(' ', line.find(' ', line.find_first_not_of(' ')));
        lines.push_back(text == std::string::npos ? "" : line.substr(text));
    }
    return lines;
}

std::vector<std::string> EmulatedDevice::logSince(std::size_t since) const
{
    std::vector<std::string> lines = logLines();
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(std::min(since, lines.size())));
    return lines;
}

bool EmulatedDevice::logged(const std::string& text, std::size_t since, int timeoutMs) const
{
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        for (const std::string& line : logSince(since)) {
            if (line.compare(0, text.size(), text) == 0)
                return true;
        }
        if (std::chrono::steady_clock::now() >= until)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

bool EmulatedDevice::signal(int number, const std::string& expected) const
{
    const std::size_t before = mark();
    return m_pid > 0 && ::kill(m_pid, number) == 0 && logged(expected, before, 5000);
}

bool EmulatedDevice::unplug() const
{
    return signal(SIGUSR1, "unplugged");
}

bool EmulatedDevice::plug() const
{
    return signal(SIGUSR2, "plugged in");
}

std::string EmulatedDevice::sentFrame(const unsigned char* data, std::size_t size, const std::string& suffix) const
{
    DIR* folder = ::opendir(m_frames.c_str());
    if (!folder)
        return "";
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(folder)) {
        const std::string name = entry->d_name;
        if (name.size() > suffix.size() && name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0)
            names.push_back(name);
    }
    ::closedir(folder);
    // The newest first: a frame just received was sent a moment ago.
    std::sort(names.rbegin(), names.rend());
    for (const std::string& name : names) {
        if (sameBytes(m_frames + "/" + name, data, size))
            return name;
    }
    return "";
}

} // namespace Guest
