#include "serialfunction.h"

#include <algorithm>
#include <cctype>

namespace UsbCamera {

namespace {

enum : std::uint8_t
{
    SetLineCoding = 0x20,
    GetLineCoding = 0x21,
    SetControlLineState = 0x22,
    SendBreak = 0x23,
};

constexpr double kStatusPeriod = 2.0;
constexpr double kBannerDelay = 0.1;
// The first status follows soon after the line is opened.
constexpr double kFirstStatus = 0.3;
// What a firmware's transmit buffer holds; text beyond it is lost.
constexpr std::size_t kMaxOutput = 4096;
constexpr std::size_t kMaxLine = 128;

} // namespace

SerialFunction::SerialFunction(Firmware& firmware, EventLog& log, const DeviceIdentity& identity)
    : m_firmware(firmware), m_log(log), m_identity(identity)
{
}

std::string SerialFunction::banner() const
{
    return "\r\nKelvane " + m_identity.product + "\r\nFirmware " + m_identity.firmwareText() + ", serial "
           + m_identity.serial + "\r\nSensor 640x480, self test passed\r\nReady.\r\n";
}

bool SerialFunction::request(std::uint8_t request, std::uint16_t value, const Bytes& data, std::uint16_t length,
                             Bytes& reply, double now)
{
    switch (request) {
    case SetLineCoding:
        if (data.size() >= 7)
            m_lineCoding.assign(data.begin(), data.begin() + 7);
        return true;
    case GetLineCoding:
        reply.assign(m_lineCoding.begin(), m_lineCoding.begin() + std::min<std::size_t>(length, 7));
        return true;
    case SetControlLineState:
        setLineState(value & 0x1, now);
        return true;
    case SendBreak:
        return true;
    default:
        return false;
    }
}

void SerialFunction::setLineState(bool dtr, double now)
{
    if (dtr == m_dtr)
        return;
    m_dtr = dtr;
    m_log.write(std::string("serial DTR ") + (dtr ? "on" : "off"));
    if (!dtr) {
        m_output.clear();
        return;
    }
    m_bannerDue = now + kBannerDelay;
    m_nextStatus = now + kFirstStatus;
}

void SerialFunction::sendBannerIfOwed()
{
    if (m_dtr && m_bannerOwed) {
        m_bannerOwed = false;
        send(banner());
    }
}

void SerialFunction::send(const std::string& text)
{
    if (m_dtr && m_output.size() + text.size() <= kMaxOutput)
        m_output += text;
}

void SerialFunction::received(const Bytes& data, double now)
{
    for (std::uint8_t byte : data) {
        const char c = static_cast<char>(byte);
        // A terminal may end a line with CR, LF or both: CR LF is one end.
        const bool secondHalf = c == '\n' && m_lastWasCarriageReturn;
        m_lastWasCarriageReturn = c == '\r';
        if (secondHalf)
            continue;
        if (c == '\r' || c == '\n') {
            m_log.write("serial command \"" + m_line + "\"");
            sendBannerIfOwed();
            send(answer(m_line, now));
            m_line.clear();
        } else if (m_line.size() < kMaxLine) {
            m_line += c;
        }
    }
}

std::string SerialFunction::answer(const std::string& line, double now)
{
    std::string word;
    for (char c : line) {
        if (c != ' ' && c != '\t')
            word += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    if (word.empty() || word == "status")
        return m_firmware.statusLine(now) + "\r\n";
    if (word == "help")
        return "commands: status, reset, help\r\n";
    if (word == "reset") {
        m_firmware.reset(now);
        m_log.write("reset");
        return banner(); // the line is open: no reason to wait
    }
    return "unknown command '" + line + "'; try help\r\n";
}

void SerialFunction::pump(double now, TransferQueue& queue, UsbIpConnection& link)
{
    if (now >= m_bannerDue)
        sendBannerIfOwed();
    if (m_dtr && now >= m_nextStatus) {
        send(m_firmware.statusLine(now) + "\r\n");
        m_nextStatus = now + kStatusPeriod;
    }
    while (!m_output.empty() && !queue.empty() && link.isOpen()) {
        const PendingTransfer transfer = queue.front();
        queue.pop_front();
        const std::size_t size = std::min<std::size_t>(transfer.length, m_output.size());
        link.replyIn(transfer.seqnum, reinterpret_cast<const std::uint8_t*>(m_output.data()), size);
        m_output.erase(0, size);
    }
}

std::optional<double> SerialFunction::deadline(bool transfersPending) const
{
    if (!m_dtr)
        return std::nullopt;
    if (!m_output.empty() && transfersPending)
        return 0.0;
    return m_bannerOwed ? std::min(m_bannerDue, m_nextStatus) : m_nextStatus;
}

} // namespace UsbCamera
