#pragma once

#include <QByteArray>
#include <QString>

// A camera's USB serial line, opened the way a careful terminal program
// opens one: without blocking and without becoming the controlling
// terminal, and put into raw mode (115200 8N1, no echo) before anything is
// read. A tty starts out with echo on, so whatever the camera sent before
// the line was first opened would otherwise be echoed back to it and glue
// onto the next command.
class SerialLine
{
public:
    // Throws CtlError when the line cannot be opened or set up.
    explicit SerialLine(const QString& path);
    ~SerialLine();
    SerialLine(const SerialLine&) = delete;
    SerialLine& operator=(const SerialLine&) = delete;

    enum class Status
    {
        Data,    // something was read
        Timeout, // nothing came
        Gone,    // the line hung up or failed: its device went away
    };

    // Appends what arrives within timeoutMs.
    Status read(QByteArray& into, int timeoutMs);
    // Sends text as a line of its own: a carriage return before it ends
    // whatever the camera received before, and one after it ends the
    // command. False when the line refused it or went away.
    bool sendLine(const QByteArray& text);

private:
    bool writeAll(const QByteArray& bytes);

    QString m_path;
    int m_fd = -1;
};
