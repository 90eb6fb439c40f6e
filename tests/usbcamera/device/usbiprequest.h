#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace UsbCamera {

// One request of the host's virtual host controller (vhci_hcd), as USB/IP
// carries it: a transfer to submit, or the cancelling of one.
struct UsbIpRequest
{
    enum Kind
    {
        Submit,
        Unlink,
    };

    Kind kind = Submit;
    std::uint32_t seqnum = 0;
    std::uint32_t endpoint = 0; // number without the direction bit
    bool in = false;            // device to host
    std::uint32_t length = 0;   // the host's buffer (IN) or the data's size (OUT)
    std::array<std::uint8_t, 8> setup{}; // control transfers only
    std::vector<std::uint8_t> data;      // OUT data
    std::uint32_t unlinkSeqnum = 0;      // Unlink: the submit to cancel
};

} // namespace UsbCamera
