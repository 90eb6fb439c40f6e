#include "videostream.h"

#include "topology.h"
#include "uvcrequest.h"
#include "videoformats.h"

#include <algorithm>
#include <cmath>

namespace UsbCamera {

namespace {

constexpr std::uint8_t kProbeControl = 0x01;
constexpr std::uint8_t kCommitControl = 0x02;
constexpr std::size_t kProbeSize = 34; // UVC 1.1
constexpr std::uint8_t kEndOfHeader = 0x80;
constexpr std::uint8_t kEndOfFrame = 0x02;
constexpr std::size_t kPayloadHeader = 2;
// The sensor's full pixel rate, against which a stream's load is measured.
constexpr double kFullPixelRate = 640.0 * 480.0 * 30.0;

void put16(VideoStream::Bytes& b, std::size_t at, unsigned value)
{
    b[at] = std::uint8_t(value);
    b[at + 1] = std::uint8_t(value >> 8);
}

void put32(VideoStream::Bytes& b, std::size_t at, std::uint32_t value)
{
    put16(b, at, value & 0xffff);
    put16(b, at + 2, value >> 16);
}

std::uint32_t get32(const VideoStream::Bytes& b, std::size_t at)
{
    return b.size() < at + 4 ? 0
                             : std::uint32_t(b[at]) | std::uint32_t(b[at + 1]) << 8 | std::uint32_t(b[at + 2]) << 16
                                   | std::uint32_t(b[at + 3]) << 24;
}

std::string describe(int format, int size, int interval)
{
    const FrameSize& s = kSizes[size];
    return std::string(kFormats[format].fourcc) + " " + std::to_string(s.width) + "x" + std::to_string(s.height)
           + " at " + std::to_string(static_cast<int>(std::lround(1e7 / kIntervals[interval]))) + " fps";
}

} // namespace

VideoStream::VideoStream(Firmware& firmware, EventLog& log, FrameArchive& archive, std::uint64_t& frameCounter)
    : m_firmware(firmware), m_log(log), m_archive(archive), m_frameCounter(frameCounter)
{
}

VideoStream::Bytes VideoStream::encode(const Settings& s) const
{
    Bytes b(kProbeSize, 0);
    put16(b, 0, 0x0001); // bmHint: the frame interval is fixed
    b[2] = std::uint8_t(s.format + 1);
    b[3] = std::uint8_t(s.size + 1);
    put32(b, 4, kIntervals[s.interval]);
    put32(b, 18, maxFrameBytes(kSizes[s.size]));
    put32(b, 22, Topology::kMaxPayload);
    put32(b, 26, 48000000); // dwClockFrequency
    b[30] = 0x03;          // bmFramingInfo: frame id and end of frame are used
    return b;
}

VideoStream::Settings VideoStream::decode(const Bytes& data) const
{
    // What the host asks for, brought to the nearest the camera can do.
    Settings s;
    if (data.size() >= 4) {
        s.format = std::clamp(int(data[2]), 1, kFormatCount) - 1;
        s.size = std::clamp(int(data[3]), 1, kSizeCount) - 1;
    }
    const std::uint32_t wanted = get32(data, 4);
    for (int i = 1; i < kIntervalCount; ++i) {
        const auto distance = [wanted](std::uint32_t interval) {
            return wanted > interval ? wanted - interval : interval - wanted;
        };
        if (distance(kIntervals[i]) < distance(kIntervals[s.interval]))
            s.interval = i;
    }
    return s;
}

RequestError VideoStream::request(std::uint8_t request, std::uint8_t selector, const Bytes& data,
                                  std::uint16_t length, Bytes& reply, double now)
{
    if (selector != kProbeControl && selector != kCommitControl)
        return RequestError::InvalidControl;
    Settings& settings = selector == kProbeControl ? m_probe : m_commit;
    switch (request) {
    case UvcRequest::SetCur:
        if (data.size() < 26) // UVC 1.0 hosts send 26 bytes
            return RequestError::OutOfRange;
        settings = decode(data);
        if (selector == kCommitControl)
            start(now);
        return RequestError::None;
    case UvcRequest::GetCur:
    case UvcRequest::GetMin:
    case UvcRequest::GetMax:
        reply = encode(settings);
        break;
    case UvcRequest::GetDef:
        reply = encode(Settings());
        break;
    case UvcRequest::GetLen:
        reply = {std::uint8_t(kProbeSize), 0};
        break;
    case UvcRequest::GetInfo:
        reply = {0x03};
        break;
    default:
        return RequestError::InvalidRequest;
    }
    if (reply.size() > length)
        reply.resize(length);
    return RequestError::None;
}

void VideoStream::start(double now)
{
    m_streaming = true;
    m_frameInFlight = false;
    m_period = kIntervals[m_commit.interval] / 1e7;
    m_nextDue = now;
    m_started = now;
    const FrameSize& size = kSizes[m_commit.size];
    const std::string description = describe(m_commit.format, m_commit.size, m_commit.interval);
    m_firmware.streamStarted(description, size.width * size.height / m_period / kFullPixelRate, now);
    m_log.write("stream " + description);
}

void VideoStream::stop(double now)
{
    if (!m_streaming)
        return;
    m_streaming = false;
    m_frameInFlight = false;
    m_firmware.streamStopped(now);
    m_log.write("stream stopped");
}

void VideoStream::nextFrame(double now)
{
    m_firmware.frameProduced(now);
    m_frameNumber = ++m_frameCounter;
    const VideoFormat& format = kFormats[m_commit.format];
    if (!m_pictures.render(format.encoding, kSizes[m_commit.size], m_frameNumber, now - m_started,
                           m_firmware.picture(), m_frame)) {
        m_log.write("frame " + std::to_string(m_frameNumber) + " could not be encoded");
        return;
    }
    m_archive.keep(m_frameNumber, format.fourcc, m_frame);
    m_sent = 0;
    m_frameId = !m_frameId;
    m_frameInFlight = true;
    // On the sensor's clock; a host that fell behind by more than a frame
    // loses the frames in between rather than getting them late.
    m_nextDue += m_period;
    if (m_nextDue < now)
        m_nextDue = now + m_period;
}

void VideoStream::pump(double now, TransferQueue& queue, UsbIpConnection& link)
{
    while (m_streaming && !queue.empty() && link.isOpen()) {
        if (!m_frameInFlight) {
            if (now < m_nextDue)
                return;
            nextFrame(now);
            if (!m_frameInFlight)
                continue;
        }
        const PendingTransfer transfer = queue.front();
        queue.pop_front();
        const std::size_t room = std::min<std::size_t>(transfer.length, Topology::kMaxPayload);
        if (room <= kPayloadHeader) {
            link.replyIn(transfer.seqnum, nullptr, 0);
            continue;
        }
        const std::size_t chunk = std::min(room - kPayloadHeader, m_frame.size() - m_sent);
        const bool last = m_sent + chunk == m_frame.size();
        Bytes payload(kPayloadHeader + chunk);
        payload[0] = kPayloadHeader;
        payload[1] = std::uint8_t(kEndOfHeader | (m_frameId ? 1 : 0) | (last ? kEndOfFrame : 0));
        std::copy_n(m_frame.begin() + static_cast<std::ptrdiff_t>(m_sent), chunk, payload.begin() + kPayloadHeader);
        link.replyIn(transfer.seqnum, payload.data(), payload.size());
        m_sent += chunk;
        if (last) {
            m_frameInFlight = false;
            m_log.write("frame " + std::to_string(m_frameNumber) + " " + kFormats[m_commit.format].fourcc + " "
                        + std::to_string(kSizes[m_commit.size].width) + "x"
                        + std::to_string(kSizes[m_commit.size].height) + " " + std::to_string(m_frame.size())
                        + " bytes sent");
        }
    }
}

std::optional<double> VideoStream::deadline(bool transfersPending) const
{
    if (!m_streaming || !transfersPending)
        return std::nullopt;
    return m_frameInFlight ? 0.0 : m_nextDue;
}

} // namespace UsbCamera
