#pragma once

#include <imageacquisition/kelvane.h>

#include <cstdint>

namespace UsbCamera {

// How the device is put together: a composite of a UVC camera (interfaces 0
// and 1) and a CDC-ACM serial line (interfaces 2 and 3).
namespace Topology {

constexpr std::uint8_t kVideoControlInterface = 0;
constexpr std::uint8_t kVideoStreamingInterface = 1;
constexpr std::uint8_t kSerialControlInterface = 2;
constexpr std::uint8_t kSerialDataInterface = 3;

// The video function's chain: camera -> processing unit -> the maker's
// extension unit -> streaming output.
constexpr std::uint8_t kCameraTerminal = 1;
constexpr std::uint8_t kProcessingUnit = 2;
constexpr std::uint8_t kOutputTerminal = 3;
constexpr std::uint8_t kExtensionUnit = ImageAcquisition::KelvaneExtensionUnit::kUnitId;

// Endpoint numbers (without the direction bit).
constexpr std::uint8_t kVideoEndpoint = 1;        // bulk IN
constexpr std::uint8_t kSerialOutEndpoint = 2;    // bulk OUT
constexpr std::uint8_t kSerialNotifyEndpoint = 3; // interrupt IN
constexpr std::uint8_t kSerialInEndpoint = 4;     // bulk IN

constexpr std::uint16_t kBulkPacketSize = 512; // high speed

// The most one video payload (header included) carries: one bulk transfer
// of the host. uvcvideo submits transfers of at most 32 packets, so a
// payload of exactly that size is one transfer and ends with it.
constexpr std::uint32_t kMaxPayload = 32 * kBulkPacketSize;

} // namespace Topology

} // namespace UsbCamera
