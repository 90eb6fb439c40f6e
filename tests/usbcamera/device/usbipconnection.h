#pragma once

#include "usbiprequest.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace UsbCamera {

// The device's end of a USB/IP connection (the kernel's protocol
// description is Documentation/usb/usbip_protocol.rst): 48-byte headers
// with every field big-endian, OUT data after a submit, IN data after its
// reply. Owns the socket.
class UsbIpConnection
{
public:
    explicit UsbIpConnection(int socket);
    ~UsbIpConnection();

    UsbIpConnection(const UsbIpConnection&) = delete;
    UsbIpConnection& operator=(const UsbIpConnection&) = delete;

    int socket() const { return m_socket; }
    // False once the host went away (detached, or a write failed).
    bool isOpen() const { return m_open; }

    // Reads what the socket holds without waiting; the requests complete so far.
    std::vector<UsbIpRequest> receive();

    // status is 0 or a negative errno (-EPIPE stalls a control transfer).
    void reply(const UsbIpRequest& request, int status, const std::vector<std::uint8_t>& data = {});
    void replyIn(std::uint32_t seqnum, const std::uint8_t* data, std::size_t size);
    void replyUnlink(const UsbIpRequest& request, int status);

private:
    std::optional<UsbIpRequest> parseOne();
    void send(const std::uint8_t* bytes, std::size_t size);
    void sendHeader(std::uint32_t command, std::uint32_t seqnum, std::int32_t status, std::int32_t actualLength);

    int m_socket;
    bool m_open = true;
    std::vector<std::uint8_t> m_input;
};

} // namespace UsbCamera
