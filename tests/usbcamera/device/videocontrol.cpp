#include "videocontrol.h"

#include "controltable.h"
#include "uvcrequest.h"

namespace UsbCamera {

namespace {

constexpr std::uint8_t kRequestErrorCodeControl = 0x02;

VideoControl::Bytes encode(std::int32_t value, std::uint8_t size)
{
    VideoControl::Bytes bytes(size);
    for (std::uint8_t i = 0; i < size; ++i)
        bytes[i] = std::uint8_t(static_cast<std::uint32_t>(value) >> (8 * i));
    return bytes;
}

std::int32_t decode(const VideoControl::Bytes& bytes, const UvcControl& control)
{
    std::uint32_t raw = 0;
    for (std::uint8_t i = 0; i < control.size; ++i)
        raw |= std::uint32_t(bytes[i]) << (8 * i);
    const unsigned bits = 8u * control.size;
    if (control.isSigned && bits < 32 && (raw >> (bits - 1)) & 1)
        raw |= ~0u << bits; // sign-extend
    return static_cast<std::int32_t>(raw);
}

const char* reason(RequestError error)
{
    switch (error) {
    case RequestError::WrongState:
        return "wrong state";
    case RequestError::OutOfRange:
        return "out of range";
    case RequestError::InvalidUnit:
        return "invalid unit";
    case RequestError::InvalidControl:
        return "invalid control";
    case RequestError::InvalidRequest:
        return "invalid request";
    case RequestError::None:
        break;
    }
    return "accepted";
}

} // namespace

VideoControl::VideoControl(Firmware& firmware, EventLog& log) : m_firmware(firmware), m_log(log) {}

RequestError VideoControl::request(std::uint8_t request, std::uint8_t entity, std::uint8_t selector,
                                   const Bytes& data, std::uint16_t length, Bytes& reply, double now)
{
    // The interface itself: what went wrong with the last request, which
    // the host asks right after a stall.
    if (entity == 0 && selector == kRequestErrorCodeControl) {
        if (request == UvcRequest::GetCur)
            reply = {static_cast<std::uint8_t>(m_lastError)};
        else if (request == UvcRequest::GetInfo)
            reply = {0x01};
        else
            return RequestError::InvalidRequest;
        return RequestError::None;
    }
    m_lastError = controlRequest(request, entity, selector, data, reply, now);
    if (reply.size() > length)
        reply.resize(length);
    return m_lastError;
}

RequestError VideoControl::controlRequest(std::uint8_t request, std::uint8_t entity, std::uint8_t selector,
                                          const Bytes& data, Bytes& reply, double now)
{
    const UvcControl* control = ControlTable::find(entity, selector);
    if (!control) {
        m_log.write(std::string(UvcRequest::name(request)) + " unit " + std::to_string(entity) + " selector "
                    + std::to_string(selector) + " refused: no such control");
        return RequestError::InvalidControl;
    }
    const std::string name = std::string(UvcRequest::name(request)) + " " + control->name;
    std::int32_t value = 0;
    switch (request) {
    case UvcRequest::SetCur: {
        if (data.size() != control->size || !(control->info & 0x02)) {
            m_log.write(name + " refused: invalid request");
            return RequestError::InvalidRequest;
        }
        value = decode(data, *control);
        RequestError error = RequestError::None;
        if (!control->isBitmap && (value < control->minimum || value > control->maximum))
            error = RequestError::OutOfRange;
        else
            error = m_firmware.write(control->reg, value, now);
        m_log.write(name + " = " + std::to_string(value)
                    + (error == RequestError::None ? "" : std::string(" refused: ") + reason(error)));
        return error;
    }
    case UvcRequest::GetCur:
        value = m_firmware.read(control->reg, now);
        break;
    case UvcRequest::GetMin:
    case UvcRequest::GetMax:
        // A bitmap of modes has no range, only the supported bits.
        if (control->isBitmap)
            return RequestError::InvalidRequest;
        value = request == UvcRequest::GetMin ? control->minimum : control->maximum;
        break;
    case UvcRequest::GetRes:
        value = control->resolution;
        break;
    case UvcRequest::GetDef:
        value = control->defaultValue;
        break;
    case UvcRequest::GetLen:
        reply = encode(control->size, 2);
        m_log.write(name + " -> " + std::to_string(control->size));
        return RequestError::None;
    case UvcRequest::GetInfo:
        reply = {control->info};
        m_log.write(name + " -> " + std::to_string(control->info));
        return RequestError::None;
    default:
        return RequestError::InvalidRequest;
    }
    reply = encode(value, control->size);
    m_log.write(name + " -> " + std::to_string(value));
    return RequestError::None;
}

} // namespace UsbCamera
