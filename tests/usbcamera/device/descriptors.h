#pragma once

#include "deviceidentity.h"

#include <cstdint>
#include <vector>

namespace UsbCamera {

// The device's USB descriptors, built once from the identity, the format
// table and the maker's extension unit (kelvane.h), so that they can never
// disagree with what the device answers later.
class Descriptors
{
public:
    using Bytes = std::vector<std::uint8_t>;

    explicit Descriptors(DeviceIdentity identity);

    const Bytes& device() const { return m_device; }
    const Bytes& configuration() const { return m_configuration; }
    // String descriptor number index (0: the languages); empty when there is none.
    Bytes string(std::uint8_t index) const;

    enum StringIndex : std::uint8_t
    {
        StringManufacturer = 1,
        StringProduct = 2,
        StringSerial = 3,
        StringSerialFunction = 4,
    };

private:
    void buildDevice();
    void buildConfiguration();

    DeviceIdentity m_identity;
    Bytes m_device;
    Bytes m_configuration;
};

} // namespace UsbCamera
