#pragma once

#include <QString>

#include <stdexcept>

namespace Tarvello {

// What every failure of the control core derives from: a message that can be
// shown to the user as it is, and the exit status a command-line tool gives
// for it. Callers catch the subclasses to tell the outcomes apart.
class CtlError : public std::runtime_error
{
public:
    CtlError(const QString& message, int exitCode)
        : std::runtime_error(message.toStdString()), m_message(message), m_exitCode(exitCode)
    {
    }

    QString message() const { return m_message; }
    int exitCode() const { return m_exitCode; }

    // Exit statuses; 1 is left for failures that are none of these (a file
    // that cannot be written, a stream that does not start).
    static constexpr int kFailed = 1;
    static constexpr int kBadInput = 2;
    static constexpr int kNoSuchCamera = 3;
    static constexpr int kRefused = 4;

private:
    QString m_message;
    int m_exitCode;
};

} // namespace Tarvello
