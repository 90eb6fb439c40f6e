#pragma once

#include "deviceidentity.h"
#include "eventlog.h"
#include "firmware.h"
#include "transferqueue.h"
#include "usbipconnection.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace UsbCamera {

// The camera's serial line (CDC-ACM, bound by the host's cdc_acm) and the
// firmware's console on it, like the virtual camera's: a banner, a status
// line every 2 seconds, and answers to "status" (or an empty line), "help"
// and "reset". A careful firmware talks only to a listener: nothing is sent
// before the host raises DTR, and what is left unsent when DTR drops is
// discarded, so a later open never starts with old text. The banner owed
// since power-on or reset follows DTR after a moment: the kernel raises DTR
// inside open(), before the program could set the line raw, and text
// arriving then would be echoed back by the tty. A command that comes
// sooner gets the banner first, then its answer.
class SerialFunction
{
public:
    using Bytes = std::vector<std::uint8_t>;

    SerialFunction(Firmware& firmware, EventLog& log, const DeviceIdentity& identity);

    // A CDC class request; false stalls it.
    bool request(std::uint8_t request, std::uint16_t value, const Bytes& data, std::uint16_t length, Bytes& reply,
                 double now);
    // Bytes the host wrote to the line.
    void received(const Bytes& data, double now);

    void pump(double now, TransferQueue& queue, UsbIpConnection& link);
    std::optional<double> deadline(bool transfersPending) const;

private:
    void setLineState(bool dtr, double now);
    void send(const std::string& text);
    void sendBannerIfOwed();
    std::string answer(const std::string& line, double now);
    std::string banner() const;

    Firmware& m_firmware;
    EventLog& m_log;
    DeviceIdentity m_identity;
    Bytes m_lineCoding = {0x00, 0xc2, 0x01, 0x00, 0, 0, 8}; // 115200 8N1
    bool m_dtr = false;
    bool m_bannerOwed = true;
    double m_bannerDue = 0.0;
    double m_nextStatus = 0.0;
    std::string m_output;
    std::string m_line;
    bool m_lastWasCarriageReturn = false;
};

} // namespace UsbCamera
