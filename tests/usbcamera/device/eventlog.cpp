#include "eventlog.h"

#include "monotonic.h"

namespace UsbCamera {

EventLog::EventLog(const std::string& path) : m_startSeconds(monotonicSeconds())
{
    if (path.empty()) {
        m_file = stderr;
        return;
    }
    m_file = std::fopen(path.c_str(), "w");
    m_owned = m_file != nullptr;
}

EventLog::~EventLog()
{
    if (m_owned)
        std::fclose(m_file);
}

void EventLog::write(const std::string& line)
{
    if (!m_file)
        return;
    std::fprintf(m_file, "%9.3f %s\n", monotonicSeconds() - m_startSeconds, line.c_str());
    std::fflush(m_file);
}

} // namespace UsbCamera
