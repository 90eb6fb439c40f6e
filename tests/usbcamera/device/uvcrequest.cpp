#include "uvcrequest.h"

namespace UsbCamera {

const char* UvcRequest::name(std::uint8_t request)
{
    switch (request) {
    case SetCur:
        return "SET_CUR";
    case GetCur:
        return "GET_CUR";
    case GetMin:
        return "GET_MIN";
    case GetMax:
        return "GET_MAX";
    case GetRes:
        return "GET_RES";
    case GetLen:
        return "GET_LEN";
    case GetInfo:
        return "GET_INFO";
    case GetDef:
        return "GET_DEF";
    default:
        return "request";
    }
}

} // namespace UsbCamera
