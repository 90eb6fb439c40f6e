#pragma once

#include <cstdint>
#include <deque>

namespace UsbCamera {

// IN transfers the host has submitted on one endpoint and the device has
// not answered yet, oldest first: the device can only send when the host
// asked, into a buffer of the size it gave.
struct PendingTransfer
{
    std::uint32_t seqnum;
    std::uint32_t length;
};

using TransferQueue = std::deque<PendingTransfer>;

} // namespace UsbCamera
