#include "deviceidentity.h"

namespace UsbCamera {

std::string DeviceIdentity::firmwareText() const
{
    auto digit = [this](int shift) { return char('0' + ((bcdDevice >> shift) & 0xf)); };
    std::string text;
    if (bcdDevice >> 12)
        text += digit(12);
    text += digit(8);
    return text + '.' + digit(4) + digit(0);
}

} // namespace UsbCamera
