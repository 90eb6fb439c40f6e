#include "serialconsole.h"

#include "monotonicclock.h"

#include <chrono>

namespace ImageAcquisition {

namespace {
constexpr long long kStatusPeriodNs = 2000000000LL;
// The first status follows soon after a program opens the line.
constexpr long long kFirstStatusNs = 300000000LL;
constexpr auto kPollPeriod = std::chrono::milliseconds(50);
constexpr size_t kMaxLine = 128;
} // namespace

SerialConsole::SerialConsole(std::unique_ptr<PseudoTerminal> terminal, std::string banner, StatusSource status,
                             CommandHandler commands)
    : m_terminal(std::move(terminal)),
      m_banner(std::move(banner)),
      m_status(std::move(status)),
      m_commands(std::move(commands))
{
    m_thread = std::thread([this] { run(); });
}

SerialConsole::~SerialConsole()
{
    silence();
}

void SerialConsole::announce()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_bannerPending = true;
    m_wake.notify_all();
}

void SerialConsole::silence()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
        m_wake.notify_all();
    }
    if (m_thread.joinable())
        m_thread.join();
}

void SerialConsole::run()
{
    bool wasListening = false;
    long long nextStatusNs = 0;
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stop) {
        lock.unlock();
        talk(wasListening, nextStatusNs);
        lock.lock();
        m_wake.wait_for(lock, kPollPeriod);
    }
}

void SerialConsole::talk(bool& wasListening, long long& nextStatusNs)
{
    const long long now = monotonicNanoseconds();
    // Read first: what a program wrote just before it closed the line
    // ("echo reboot > /dev/ttyACM0") is carried out all the same, though
    // nobody is left to hear the answer.
    const std::string replies = receive();
    if (!m_terminal->hasListener()) {
        wasListening = false;
        return;
    }
    if (!wasListening) {
        wasListening = true;
        nextStatusNs = now + kFirstStatusNs;
    }

    bool banner = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::swap(banner, m_bannerPending);
    }
    std::string text;
    if (banner)
        text += m_banner;
    text += replies;
    if (now >= nextStatusNs) {
        text += m_status() + "\r\n";
        nextStatusNs = now + kStatusPeriodNs;
    }
    // A full line means nobody reads it; the text is dropped, like bytes
    // sent to a terminal that is not listening.
    if (!text.empty())
        m_terminal->write(text);
}

std::string SerialConsole::receive()
{
    std::string replies;
    char input[256];
    for (long got; (got = m_terminal->read(input, sizeof input)) > 0;) {
        for (long i = 0; i < got; ++i) {
            const char c = input[i];
            // A terminal may end a line with CR, LF or both: CR LF is one end.
            const bool secondHalf = c == '\n' && m_lastWasCarriageReturn;
            m_lastWasCarriageReturn = c == '\r';
            if (secondHalf)
                continue;
            if (c == '\r' || c == '\n') {
                replies += m_commands(m_line);
                m_line.clear();
            } else if (m_line.size() < kMaxLine) {
                m_line += c;
            }
        }
    }
    return replies;
}

} // namespace ImageAcquisition
