#pragma once

#include "uniquefd.h"

#include <string>

namespace ImageAcquisition {

// The master side of a pseudo-terminal: what the camera writes here, a
// program that opens slavePath() reads, as from a USB serial port.
class PseudoTerminal
{
public:
    // Opens a new pseudo-terminal; check isOpen(), and error() for why not.
    PseudoTerminal();

    bool isOpen() const { return m_master.isValid(); }
    // -errno of the failed step, 0 when open.
    int error() const { return m_error; }
    const std::string& slavePath() const { return m_slavePath; }

    // Whether some program has the slave side open now.
    bool hasListener() const;
    // Never block: bytes written or read, or -errno (-EAGAIN when the line is full or empty).
    long write(const std::string& text);
    long read(char* buffer, unsigned long size);

private:
    int open();

    UniqueFd m_master;
    std::string m_slavePath;
    int m_error = 0;
};

} // namespace ImageAcquisition
