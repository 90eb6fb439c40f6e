#pragma once

#include <cstdio>
#include <string>

namespace UsbCamera {

// What the device did, one line per event, for the tests to read while it
// runs: every line is on disk before the device answers the request that
// caused it. Lines start with the seconds since the program started.
class EventLog
{
public:
    // An empty path logs to standard error.
    explicit EventLog(const std::string& path);
    ~EventLog();

    EventLog(const EventLog&) = delete;
    EventLog& operator=(const EventLog&) = delete;

    bool isOpen() const { return m_file != nullptr; }
    void write(const std::string& line);

private:
    std::FILE* m_file = nullptr;
    bool m_owned = false;
    double m_startSeconds;
};

} // namespace UsbCamera
