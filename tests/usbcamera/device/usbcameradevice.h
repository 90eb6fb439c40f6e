#pragma once

#include "descriptors.h"
#include "eventlog.h"
#include "firmware.h"
#include "serialfunction.h"
#include "transferqueue.h"
#include "usbipconnection.h"
#include "videocontrol.h"
#include "videostream.h"

#include <optional>

namespace UsbCamera {

// The whole device from power-on to unplugging: answers the standard
// requests on endpoint 0 itself, hands class requests and endpoint traffic
// to its functions, and holds the IN transfers the host has submitted
// until a function has something to send.
class UsbCameraDevice
{
public:
    UsbCameraDevice(const DeviceIdentity& identity, EventLog& log, FrameArchive& archive,
                    std::uint64_t& frameCounter, double now);

    void handle(const UsbIpRequest& request, UsbIpConnection& link, double now);
    // Sends whatever has become due.
    void pump(double now, UsbIpConnection& link);
    // When pump next has something to do, if anything.
    std::optional<double> deadline() const;

private:
    using Bytes = std::vector<std::uint8_t>;

    // The reply's data, or a negative errno (-EPIPE: a stall).
    int control(const UsbIpRequest& request, Bytes& reply, double now);
    int standardRequest(std::uint8_t type, std::uint8_t request, std::uint16_t value, std::uint16_t index,
                        std::uint16_t length, Bytes& reply, double now);
    int classRequest(std::uint8_t request, std::uint16_t value, std::uint16_t index, const Bytes& data,
                     std::uint16_t length, Bytes& reply, double now);
    TransferQueue* queueOf(std::uint32_t endpoint);

    Descriptors m_descriptors;
    EventLog& m_log;
    Firmware m_firmware;
    VideoControl m_videoControl;
    VideoStream m_videoStream;
    SerialFunction m_serial;
    std::uint8_t m_configuration = 0;
    TransferQueue m_videoIn;
    TransferQueue m_serialNotify;
    TransferQueue m_serialIn;
};

} // namespace UsbCamera
