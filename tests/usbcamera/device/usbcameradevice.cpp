#include "usbcameradevice.h"

#include "topology.h"

#include <algorithm>
#include <cerrno>

namespace UsbCamera {

namespace {

using namespace Topology;

enum : std::uint8_t
{
    GetStatus = 0,
    ClearFeature = 1,
    SetFeature = 3,
    GetDescriptor = 6,
    GetConfiguration = 8,
    SetConfiguration = 9,
    GetInterface = 10,
    SetInterface = 11,
};

enum : std::uint8_t
{
    DescriptorDevice = 1,
    DescriptorConfiguration = 2,
    DescriptorString = 3,
};

constexpr std::uint8_t kRecipientEndpoint = 2;
constexpr int kStall = -EPIPE;

} // namespace

UsbCameraDevice::UsbCameraDevice(const DeviceIdentity& identity, EventLog& log, FrameArchive& archive,
                                 std::uint64_t& frameCounter, double now)
    : m_descriptors(identity),
      m_log(log),
      m_firmware(now),
      m_videoControl(m_firmware, log),
      m_videoStream(m_firmware, log, archive, frameCounter),
      m_serial(m_firmware, log, identity)
{
}

TransferQueue* UsbCameraDevice::queueOf(std::uint32_t endpoint)
{
    switch (endpoint) {
    case kVideoEndpoint:
        return &m_videoIn;
    case kSerialNotifyEndpoint:
        return &m_serialNotify;
    case kSerialInEndpoint:
        return &m_serialIn;
    default:
        return nullptr;
    }
}

void UsbCameraDevice::handle(const UsbIpRequest& request, UsbIpConnection& link, double now)
{
    if (request.kind == UsbIpRequest::Unlink) {
        // A transfer still held is cancelled and never answered; one
        // answered already is past cancelling. Answering a cancelled one
        // would make the host drop the device.
        for (TransferQueue* queue : {&m_videoIn, &m_serialNotify, &m_serialIn}) {
            auto held = std::find_if(queue->begin(), queue->end(),
                                     [&](const PendingTransfer& t) { return t.seqnum == request.unlinkSeqnum; });
            if (held != queue->end()) {
                queue->erase(held);
                link.replyUnlink(request, -ECONNRESET);
                return;
            }
        }
        link.replyUnlink(request, 0);
        return;
    }
    if (request.endpoint == 0) {
        Bytes reply;
        const int status = control(request, reply, now);
        link.reply(request, status, reply);
        return;
    }
    if (!request.in && request.endpoint == kSerialOutEndpoint) {
        m_serial.received(request.data, now);
        link.reply(request, 0);
        return;
    }
    TransferQueue* queue = request.in ? queueOf(request.endpoint) : nullptr;
    if (!queue) {
        link.reply(request, kStall);
        return;
    }
    queue->push_back({request.seqnum, request.length});
}

int UsbCameraDevice::control(const UsbIpRequest& request, Bytes& reply, double now)
{
    const auto& s = request.setup;
    const std::uint8_t type = s[0];
    const std::uint16_t value = std::uint16_t(s[2] | s[3] << 8);
    const std::uint16_t index = std::uint16_t(s[4] | s[5] << 8);
    const std::uint16_t length = std::uint16_t(s[6] | s[7] << 8);
    switch ((type >> 5) & 0x3) {
    case 0:
        return standardRequest(type, s[1], value, index, length, reply, now);
    case 1:
        return classRequest(s[1], value, index, request.data, length, reply, now);
    default:
        return kStall;
    }
}

int UsbCameraDevice::standardRequest(std::uint8_t type, std::uint8_t request, std::uint16_t value,
                                     std::uint16_t index, std::uint16_t length, Bytes& reply, double now)
{
    switch (request) {
    case GetDescriptor:
        switch (value >> 8) {
        case DescriptorDevice:
            reply = m_descriptors.device();
            break;
        case DescriptorConfiguration:
            reply = m_descriptors.configuration();
            break;
        case DescriptorString:
            reply = m_descriptors.string(std::uint8_t(value));
            break;
        default:
            // No device qualifier or BOS: a high-speed-only USB 2.0 device.
            return kStall;
        }
        if (reply.empty())
            return kStall;
        if (reply.size() > length)
            reply.resize(length);
        return 0;
    case SetConfiguration:
        m_configuration = std::uint8_t(value);
        if (m_configuration == 0)
            m_videoStream.stop(now);
        m_log.write("configuration " + std::to_string(m_configuration));
        return 0;
    case GetConfiguration:
        reply = {m_configuration};
        return 0;
    case GetStatus:
        reply = {0, 0};
        return 0;
    case SetInterface:
        if (index == kVideoStreamingInterface)
            m_videoStream.stop(now);
        return 0;
    case GetInterface:
        reply = {0};
        return 0;
    case ClearFeature:
        // uvcvideo ends a bulk stream with CLEAR_FEATURE(ENDPOINT_HALT).
        if ((type & 0x1f) == kRecipientEndpoint && value == 0 && (index & 0x0f) == kVideoEndpoint)
            m_videoStream.stop(now);
        return 0;
    case SetFeature:
        return 0;
    default:
        return kStall;
    }
}

int UsbCameraDevice::classRequest(std::uint8_t request, std::uint16_t value, std::uint16_t index, const Bytes& data,
                                  std::uint16_t length, Bytes& reply, double now)
{
    const std::uint8_t interface = std::uint8_t(index);
    RequestError error = RequestError::InvalidRequest;
    switch (interface) {
    case kVideoControlInterface:
        error = m_videoControl.request(request, std::uint8_t(index >> 8), std::uint8_t(value >> 8), data, length,
                                       reply, now);
        break;
    case kVideoStreamingInterface:
        error = m_videoStream.request(request, std::uint8_t(value >> 8), data, length, reply, now);
        break;
    case kSerialControlInterface:
        return m_serial.request(request, value, data, length, reply, now) ? 0 : kStall;
    default:
        break;
    }
    return error == RequestError::None ? 0 : kStall;
}

void UsbCameraDevice::pump(double now, UsbIpConnection& link)
{
    m_videoStream.pump(now, m_videoIn, link);
    m_serial.pump(now, m_serialIn, link);
}

std::optional<double> UsbCameraDevice::deadline() const
{
    const auto video = m_videoStream.deadline(!m_videoIn.empty());
    const auto serial = m_serial.deadline(!m_serialIn.empty());
    if (video && serial)
        return std::min(*video, *serial);
    return video ? video : serial;
}

} // namespace UsbCamera
