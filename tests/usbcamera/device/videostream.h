#pragma once

#include "eventlog.h"
#include "firmware.h"
#include "framearchive.h"
#include "picturegenerator.h"
#include "requesterror.h"
#include "transferqueue.h"
#include "usbipconnection.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace UsbCamera {

// The video streaming interface: probe and commit, then frames cut into
// bulk payloads, each one transfer starting with a 2-byte UVC payload
// header (frame id toggling per frame, end of frame on the last payload),
// paced at the committed interval. Frames the host is too slow to take are
// skipped, as a sensor running on its own clock would.
class VideoStream
{
public:
    using Bytes = std::vector<std::uint8_t>;

    VideoStream(Firmware& firmware, EventLog& log, FrameArchive& archive, std::uint64_t& frameCounter);

    // A class request to the interface; the reply (GET) or nothing (SET), or the refusal.
    RequestError request(std::uint8_t request, std::uint8_t selector, const Bytes& data, std::uint16_t length,
                         Bytes& reply, double now);
    // The host stopped the stream (CLEAR_FEATURE(ENDPOINT_HALT) on the endpoint).
    void stop(double now);
    bool isStreaming() const { return m_streaming; }

    // Answers pending transfers with payloads of the frames due by now.
    void pump(double now, TransferQueue& queue, UsbIpConnection& link);
    // When pump has something to do next, if anything.
    std::optional<double> deadline(bool transfersPending) const;

private:
    // The probe and commit structure of UVC 1.1 (34 bytes), the fields the
    // device negotiates.
    struct Settings
    {
        int format = 0; // indexes into the format tables
        int size = 0;
        int interval = 0;
    };

    Bytes encode(const Settings& settings) const;
    Settings decode(const Bytes& data) const;
    void start(double now);
    void nextFrame(double now);

    Firmware& m_firmware;
    EventLog& m_log;
    FrameArchive& m_archive;
    std::uint64_t& m_frameCounter;
    PictureGenerator m_pictures;
    Settings m_probe;
    Settings m_commit;
    bool m_streaming = false;
    double m_nextDue = 0.0;
    double m_period = 0.0;
    double m_started = 0.0;
    bool m_frameId = false;
    Bytes m_frame;
    std::size_t m_sent = 0; // bytes of m_frame already in payloads
    std::uint64_t m_frameNumber = 0;
    bool m_frameInFlight = false;
};

} // namespace UsbCamera
