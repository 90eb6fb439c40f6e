#pragma once

#include "pseudoterminal.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace ImageAcquisition {

// The camera's side of its serial line: from a thread of its own it prints
// a start-up banner and then a status line every few seconds, and answers
// each line it receives (a bare line end included) through the command
// handler. It talks only while a program has the line open; a banner
// announced while nobody listens waits for the next listener, and status
// lines are not stored up.
class SerialConsole
{
public:
    using StatusSource = std::function<std::string()>;
    // Gets one received line without its line end; returns the reply, with line ends.
    using CommandHandler = std::function<std::string(const std::string&)>;

    SerialConsole(std::unique_ptr<PseudoTerminal> terminal, std::string banner, StatusSource status,
                  CommandHandler commands);
    ~SerialConsole();

    SerialConsole(const SerialConsole&) = delete;
    SerialConsole& operator=(const SerialConsole&) = delete;

    const std::string& path() const { return m_terminal->slavePath(); }
    // Prints the banner again (power-on, reset).
    void announce();
    // The device is gone: no more output. The line itself stays open so a
    // program that holds it sees silence rather than an error.
    void silence();

private:
    void run();
    void talk(bool& wasListening, long long& nextStatusNs);
    std::string receive();

    std::unique_ptr<PseudoTerminal> m_terminal;
    const std::string m_banner;
    StatusSource m_status;
    CommandHandler m_commands;
    std::string m_line; // received so far; only the console's thread uses it
    bool m_lastWasCarriageReturn = false;

    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_stop = false;
    bool m_bannerPending = true;
    std::thread m_thread;
};

} // namespace ImageAcquisition
