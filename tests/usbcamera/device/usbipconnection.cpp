#include "usbipconnection.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

namespace UsbCamera {

namespace {

enum Command : std::uint32_t
{
    CmdSubmit = 1,
    CmdUnlink = 2,
    RetSubmit = 3,
    RetUnlink = 4,
};

constexpr std::size_t kHeaderSize = 48;
constexpr std::size_t kIsoDescriptorSize = 16;
// More than any transfer of this device; a larger one means a broken stream.
constexpr std::uint32_t kMaxTransfer = 1u << 20;

std::uint32_t readBig(const std::uint8_t* p)
{
    return std::uint32_t(p[0]) << 24 | std::uint32_t(p[1]) << 16 | std::uint32_t(p[2]) << 8 | p[3];
}

void writeBig(std::uint8_t* p, std::uint32_t value)
{
    p[0] = std::uint8_t(value >> 24);
    p[1] = std::uint8_t(value >> 16);
    p[2] = std::uint8_t(value >> 8);
    p[3] = std::uint8_t(value);
}

} // namespace

UsbIpConnection::UsbIpConnection(int socket) : m_socket(socket) {}

UsbIpConnection::~UsbIpConnection()
{
    if (m_socket >= 0)
        ::close(m_socket);
}

std::vector<UsbIpRequest> UsbIpConnection::receive()
{
    std::uint8_t chunk[65536];
    for (;;) {
        const ssize_t got = ::recv(m_socket, chunk, sizeof chunk, MSG_DONTWAIT);
        if (got > 0) {
            m_input.insert(m_input.end(), chunk, chunk + got);
            continue;
        }
        if (got == 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR))
            m_open = false; // the host shut the connection down: detached
        break;
    }
    std::vector<UsbIpRequest> requests;
    while (auto request = parseOne())
        requests.push_back(std::move(*request));
    return requests;
}

std::optional<UsbIpRequest> UsbIpConnection::parseOne()
{
    if (m_input.size() < kHeaderSize)
        return std::nullopt;
    const std::uint8_t* h = m_input.data();
    UsbIpRequest request;
    const std::uint32_t command = readBig(h);
    request.seqnum = readBig(h + 4);
    request.in = readBig(h + 12) == 1;
    request.endpoint = readBig(h + 16);
    std::size_t size = kHeaderSize;
    if (command == CmdSubmit) {
        request.kind = UsbIpRequest::Submit;
        request.length = readBig(h + 24);
        const std::uint32_t packets = readBig(h + 32);
        std::memcpy(request.setup.data(), h + 40, 8);
        if (request.length > kMaxTransfer) {
            m_open = false;
            return std::nullopt;
        }
        const std::size_t outData = request.in ? 0 : request.length;
        // Isochronous descriptors would follow; this device has no such
        // endpoint, but the stream must stay in step whatever comes.
        const std::size_t iso = packets != 0xffffffffu && packets < 1024 ? packets * kIsoDescriptorSize : 0;
        if (m_input.size() < size + outData + iso)
            return std::nullopt;
        request.data.assign(h + size, h + size + outData);
        size += outData + iso;
    } else if (command == CmdUnlink) {
        request.kind = UsbIpRequest::Unlink;
        request.unlinkSeqnum = readBig(h + 20);
    } else {
        // Nothing else travels from the host to a device.
        m_open = false;
        return std::nullopt;
    }
    m_input.erase(m_input.begin(), m_input.begin() + static_cast<std::ptrdiff_t>(size));
    return request;
}

void UsbIpConnection::sendHeader(std::uint32_t command, std::uint32_t seqnum, std::int32_t status,
                                 std::int32_t actualLength)
{
    // devid, direction and endpoint stay 0 in replies; the host matches by seqnum.
    std::uint8_t header[kHeaderSize] = {};
    writeBig(header, command);
    writeBig(header + 4, seqnum);
    writeBig(header + 20, static_cast<std::uint32_t>(status));
    if (command == RetSubmit)
        writeBig(header + 24, static_cast<std::uint32_t>(actualLength));
    send(header, sizeof header);
}

void UsbIpConnection::reply(const UsbIpRequest& request, int status, const std::vector<std::uint8_t>& data)
{
    if (request.in && status == 0) {
        replyIn(request.seqnum, data.data(), data.size());
        return;
    }
    // OUT: the host learns how much was taken; no data travels back.
    sendHeader(RetSubmit, request.seqnum, status, status == 0 ? static_cast<std::int32_t>(request.length) : 0);
}

void UsbIpConnection::replyIn(std::uint32_t seqnum, const std::uint8_t* data, std::size_t size)
{
    sendHeader(RetSubmit, seqnum, 0, static_cast<std::int32_t>(size));
    if (size > 0)
        send(data, size);
}

void UsbIpConnection::replyUnlink(const UsbIpRequest& request, int status)
{
    sendHeader(RetUnlink, request.seqnum, status, 0);
}

void UsbIpConnection::send(const std::uint8_t* bytes, std::size_t size)
{
    while (m_open && size > 0) {
        const ssize_t sent = ::send(m_socket, bytes, size, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR)
            continue;
        if (sent <= 0) {
            m_open = false;
            return;
        }
        bytes += sent;
        size -= static_cast<std::size_t>(sent);
    }
}

} // namespace UsbCamera
