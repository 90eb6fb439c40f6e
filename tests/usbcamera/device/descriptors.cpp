#include "descriptors.h"

#include "topology.h"
#include "videoformats.h"

namespace UsbCamera {

namespace {

using Bytes = Descriptors::Bytes;
using namespace Topology;

// Descriptor types and subtypes of USB 2.0, UVC 1.1 and CDC 1.2.
enum : std::uint8_t
{
    TypeDevice = 1,
    TypeConfiguration = 2,
    TypeString = 3,
    TypeInterface = 4,
    TypeEndpoint = 5,
    TypeInterfaceAssociation = 11,
    TypeClassInterface = 0x24,

    VcHeader = 1,
    VcInputTerminal = 2,
    VcOutputTerminal = 3,
    VcProcessingUnit = 5,
    VcExtensionUnit = 6,
    VsInputHeader = 1,
    VsFormatUncompressed = 4,
    VsFrameUncompressed = 5,
    VsFormatMjpeg = 6,
    VsFrameMjpeg = 7,

    CdcHeader = 0,
    CdcCallManagement = 1,
    CdcAcm = 2,
    CdcUnion = 6,
};

void put16(Bytes& b, unsigned value)
{
    b.push_back(std::uint8_t(value));
    b.push_back(std::uint8_t(value >> 8));
}

void put32(Bytes& b, std::uint32_t value)
{
    put16(b, value & 0xffff);
    put16(b, value >> 16);
}

// Appends a descriptor, its length byte first.
void add(Bytes& b, std::initializer_list<std::uint8_t> fields)
{
    b.push_back(std::uint8_t(fields.size() + 1));
    b.insert(b.end(), fields);
}

void addInterface(Bytes& b, std::uint8_t number, std::uint8_t endpoints, std::uint8_t cls, std::uint8_t subclass,
                  std::uint8_t protocol, std::uint8_t name = 0)
{
    add(b, {TypeInterface, number, 0, endpoints, cls, subclass, protocol, name});
}

void addEndpoint(Bytes& b, std::uint8_t address, std::uint8_t attributes, std::uint16_t packetSize,
                 std::uint8_t interval)
{
    add(b, {TypeEndpoint, address, attributes, std::uint8_t(packetSize), std::uint8_t(packetSize >> 8), interval});
}

// Writes the 16-bit total length of the class-specific block that starts at begin.
void patchTotal(Bytes& b, std::size_t begin, std::size_t offset)
{
    const std::size_t total = b.size() - begin;
    b[begin + offset] = std::uint8_t(total);
    b[begin + offset + 1] = std::uint8_t(total >> 8);
}

// One frame descriptor: the same layout for MJPEG and uncompressed frames.
void addFrame(Bytes& b, std::uint8_t subtype, std::uint8_t index, const FrameSize& size)
{
    Bytes f = {subtype, index, 0};
    put16(f, size.width);
    put16(f, size.height);
    const std::uint32_t frameBytes = maxFrameBytes(size);
    // Bit rates at the slowest and fastest interval (100 ns units).
    const std::uint64_t bitsPerFrame = std::uint64_t(frameBytes) * 8;
    put32(f, std::uint32_t(bitsPerFrame * 10000000u / kIntervals[kIntervalCount - 1]));
    put32(f, std::uint32_t(bitsPerFrame * 10000000u / kIntervals[0]));
    put32(f, frameBytes);
    put32(f, kIntervals[0]); // default interval
    f.push_back(kIntervalCount);
    for (std::uint32_t interval : kIntervals)
        put32(f, interval);
    b.push_back(std::uint8_t(f.size() + 2));
    b.push_back(TypeClassInterface);
    b.insert(b.end(), f.begin(), f.end());
}

void addVideoControl(Bytes& b)
{
    addInterface(b, kVideoControlInterface, 0, 0x0e, 0x01, 0x00, Descriptors::StringProduct);
    const std::size_t begin = b.size();
    // Header: UVC 1.1, 48 MHz device clock, one streaming interface.
    add(b, {TypeClassInterface, VcHeader, 0x10, 0x01, 0, 0, 0x00, 0x6c, 0xdc, 0x02, 1, kVideoStreamingInterface});
    // Camera terminal: auto-exposure mode (bit 1) and absolute exposure time (bit 3).
    add(b, {TypeClassInterface, VcInputTerminal, kCameraTerminal, 0x01, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, 3,
            0x0a, 0x00, 0x00});
    // Processing unit: brightness (0), contrast (1), white balance
    // temperature (6), gain (9), white balance temperature auto (12).
    add(b, {TypeClassInterface, VcProcessingUnit, kProcessingUnit, kCameraTerminal, 0, 0, 2, 0x43, 0x12, 0, 0});
    // The maker's extension unit, one bmControls bit per selector.
    namespace Xu = ImageAcquisition::KelvaneExtensionUnit;
    std::uint8_t controlBits = 0;
    for (const auto& control : Xu::kControls)
        controlBits |= std::uint8_t(1u << (control.selector - 1));
    Bytes xu = {TypeClassInterface, VcExtensionUnit, kExtensionUnit};
    xu.insert(xu.end(), Xu::kGuid, Xu::kGuid + 16);
    xu.insert(xu.end(), {std::uint8_t(Xu::kControlCount), 1, kProcessingUnit, 1, controlBits, 0});
    b.push_back(std::uint8_t(xu.size() + 1));
    b.insert(b.end(), xu.begin(), xu.end());
    // Output terminal: USB streaming, fed by the extension unit.
    add(b, {TypeClassInterface, VcOutputTerminal, kOutputTerminal, 0x01, 0x01, 0, kExtensionUnit, 0});
    patchTotal(b, begin, 5);
}

void addVideoStreaming(Bytes& b)
{
    addInterface(b, kVideoStreamingInterface, 1, 0x0e, 0x02, 0x00);
    const std::size_t begin = b.size();
    // Input header: the formats, the bulk endpoint, the output terminal;
    // no per-format controls.
    add(b, {TypeClassInterface, VsInputHeader, kFormatCount, 0, 0, 0x80 | kVideoEndpoint, 0, kOutputTerminal, 0, 0,
            0, 1, 0, 0});
    for (int f = 0; f < kFormatCount; ++f) {
        const std::uint8_t index = std::uint8_t(f + 1);
        if (kFormats[f].encoding == Encoding::Mjpeg) {
            // Fixed-size samples, default frame 1, no aspect ratio or interlacing.
            add(b, {TypeClassInterface, VsFormatMjpeg, index, kSizeCount, 0x01, 1, 0, 0, 0, 0});
        } else {
            // YUY2: {32595559-0000-0010-8000-00aa00389b71}, 16 bits a pixel.
            add(b, {TypeClassInterface, VsFormatUncompressed, index, kSizeCount, 'Y', 'U', 'Y', '2', 0x00, 0x00, 0x10,
                    0x00, 0x80, 0x00, 0x00, 0xaa, 0x00, 0x38, 0x9b, 0x71, 16, 1, 0, 0, 0, 0});
        }
        const std::uint8_t frameType = kFormats[f].encoding == Encoding::Mjpeg ? VsFrameMjpeg : VsFrameUncompressed;
        for (int s = 0; s < kSizeCount; ++s)
            addFrame(b, frameType, std::uint8_t(s + 1), kSizes[s]);
    }
    patchTotal(b, begin, 4);
    addEndpoint(b, 0x80 | kVideoEndpoint, 0x02, kBulkPacketSize, 0);
}

void addSerial(Bytes& b)
{
    addInterface(b, kSerialControlInterface, 1, 0x02, 0x02, 0x01, Descriptors::StringSerialFunction);
    add(b, {TypeClassInterface, CdcHeader, 0x20, 0x01});
    add(b, {TypeClassInterface, CdcCallManagement, 0x00, kSerialDataInterface});
    // Line coding and serial state: SET_LINE_CODING, SET_CONTROL_LINE_STATE.
    add(b, {TypeClassInterface, CdcAcm, 0x02});
    add(b, {TypeClassInterface, CdcUnion, kSerialControlInterface, kSerialDataInterface});
    addEndpoint(b, 0x80 | kSerialNotifyEndpoint, 0x03, 16, 9);
    addInterface(b, kSerialDataInterface, 2, 0x0a, 0x00, 0x00);
    addEndpoint(b, kSerialOutEndpoint, 0x02, kBulkPacketSize, 0);
    addEndpoint(b, 0x80 | kSerialInEndpoint, 0x02, kBulkPacketSize, 0);
}

} // namespace

Descriptors::Descriptors(DeviceIdentity identity) : m_identity(std::move(identity))
{
    buildDevice();
    buildConfiguration();
}

void Descriptors::buildDevice()
{
    // Miscellaneous class with interface associations: a composite device.
    m_device = {18, TypeDevice, 0x00, 0x02, 0xef, 0x02, 0x01, 64};
    put16(m_device, m_identity.vendorId);
    put16(m_device, m_identity.productId);
    put16(m_device, m_identity.bcdDevice);
    m_device.insert(m_device.end(), {StringManufacturer, StringProduct, StringSerial, 1});
}

void Descriptors::buildConfiguration()
{
    Bytes& b = m_configuration;
    // Bus-powered, 500 mA; the total length is written at the end.
    add(b, {TypeConfiguration, 0, 0, 4, 1, 0, 0x80, 250});
    add(b, {TypeInterfaceAssociation, kVideoControlInterface, 2, 0x0e, 0x03, 0x00, StringProduct});
    addVideoControl(b);
    addVideoStreaming(b);
    add(b, {TypeInterfaceAssociation, kSerialControlInterface, 2, 0x02, 0x02, 0x01, StringSerialFunction});
    addSerial(b);
    patchTotal(b, 0, 2);
}

Descriptors::Bytes Descriptors::string(std::uint8_t index) const
{
    std::string text;
    switch (index) {
    case 0:
        return {4, TypeString, 0x09, 0x04}; // US English only
    case StringManufacturer:
        text = m_identity.manufacturer;
        break;
    case StringProduct:
        text = m_identity.product;
        break;
    case StringSerial:
        text = m_identity.serial;
        break;
    case StringSerialFunction:
        text = "Console";
        break;
    default:
        return {};
    }
    // UTF-16LE; the texts here are ASCII.
    Bytes b = {std::uint8_t(2 + 2 * text.size()), TypeString};
    for (char c : text)
        put16(b, static_cast<unsigned char>(c));
    return b;
}

} // namespace UsbCamera
