#pragma once

#include "eventlog.h"
#include "firmware.h"
#include "requesterror.h"

#include <cstdint>
#include <vector>

namespace UsbCamera {

// The video control interface: the controls of the camera terminal, the
// processing unit and the extension unit, and the request error code the
// host reads after a refused request. Every GET and SET goes into the log
// with the control's name and value.
class VideoControl
{
public:
    using Bytes = std::vector<std::uint8_t>;

    VideoControl(Firmware& firmware, EventLog& log);

    RequestError request(std::uint8_t request, std::uint8_t entity, std::uint8_t selector, const Bytes& data,
                         std::uint16_t length, Bytes& reply, double now);

private:
    RequestError controlRequest(std::uint8_t request, std::uint8_t entity, std::uint8_t selector, const Bytes& data,
                                Bytes& reply, double now);

    Firmware& m_firmware;
    EventLog& m_log;
    RequestError m_lastError = RequestError::None;
};

} // namespace UsbCamera
