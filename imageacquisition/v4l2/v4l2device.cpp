#include "v4l2device.h"

#include "ioctl.h"
#include "sysfsreader.h"
#include "uniquefd.h"
#include "usbbusreader.h"
#include "v4l2camera.h"

#include <imageacquisition/kelvane.h>

#include <linux/videodev2.h>

#include <cstdlib>
#include <cstring>
#include <fcntl.h>

namespace ImageAcquisition {

namespace {

// The driver's fixed-size fields are NUL-terminated only when shorter than
// the field.
template <std::size_t N>
std::string fieldText(const __u8 (&field)[N])
{
    const char* text = reinterpret_cast<const char*>(field);
    return std::string(text, ::strnlen(text, N));
}

// What a node streams now, such as "MJPG 1280x720 at 1/30": the format and
// interval can be read while another program streams from it.
std::string streamingFormat(const std::string& node)
{
    UniqueFd fd(::open(node.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (!fd.isValid() || rawIoctl(fd.get(), VIDIOC_G_FMT, &format) < 0)
        return std::string();
    const __u32 code = format.fmt.pix.pixelformat;
    std::string text{char(code & 0xff), char((code >> 8) & 0xff), char((code >> 16) & 0xff), char((code >> 24) & 0xff)};
    text += " " + std::to_string(format.fmt.pix.width) + "x" + std::to_string(format.fmt.pix.height);
    v4l2_streamparm parameters{};
    parameters.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (rawIoctl(fd.get(), VIDIOC_G_PARM, &parameters) == 0 && parameters.parm.capture.timeperframe.denominator > 0)
        text += " at " + std::to_string(parameters.parm.capture.timeperframe.numerator) + "/"
                + std::to_string(parameters.parm.capture.timeperframe.denominator);
    return text;
}

std::string nodeName(const std::string& path)
{
    auto slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

} // namespace

std::unique_ptr<V4l2Device> V4l2Device::probe(const std::string& path, const SysfsReader& sysfs)
{
    // A plain open is enough for the capabilities, and much cheaper than
    // letting libv4l2 set up its conversion for every listed node.
    UniqueFd fd(::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    if (!fd.isValid())
        return nullptr;
    v4l2_capability capability{};
    if (rawIoctl(fd.get(), VIDIOC_QUERYCAP, &capability) < 0)
        return nullptr;
    if (!isUsableCapture(nodeCapabilities(capability)))
        return nullptr;
    return std::make_unique<V4l2Device>(path, capability, sysfs.usbInfo(nodeName(path)));
}

V4l2Device::V4l2Device(const std::string& path, const v4l2_capability& capability, UsbInfo usb)
    : m_path(path),
      m_name(fieldText(capability.card)),
      m_driver(fieldText(capability.driver)),
      m_busInfo(fieldText(capability.bus_info)),
      m_driverVersion(formatVersion(capability.version)),
      m_capabilities(nodeCapabilities(capability)),
      m_usb(std::move(usb))
{
}

std::uint32_t V4l2Device::nodeCapabilities(const v4l2_capability& capability)
{
    return (capability.capabilities & V4L2_CAP_DEVICE_CAPS) ? capability.device_caps
                                                            : capability.capabilities;
}

bool V4l2Device::isUsableCapture(std::uint32_t capabilities)
{
    return (capabilities & V4L2_CAP_VIDEO_CAPTURE) && (capabilities & V4L2_CAP_STREAMING);
}

std::string V4l2Device::formatVersion(std::uint32_t version)
{
    return std::to_string((version >> 16) & 0xff) + "." + std::to_string((version >> 8) & 0xff)
           + "." + std::to_string(version & 0xff);
}

UsbBandwidth::Bus V4l2Device::bus() const
{
    const std::string& device = m_usb.sysfsPath;
    const auto devices = device.find("/devices/");
    if (devices == std::string::npos)
        return {};
    UsbBandwidth::Bus bus = UsbBusReader(device.substr(0, devices)).busOf(device);
    for (UsbBandwidth::Stream& stream : bus.streams)
        stream.format = streamingFormat(stream.node);
    return bus;
}

IStreamingCamera* V4l2Device::open() const
{
    return V4l2Camera::open(*this).release();
}

bool V4l2Device::supportsAsynchIO() const
{
    return m_capabilities & V4L2_CAP_ASYNCIO;
}

bool V4l2Device::supportsMultiplane() const
{
    return m_capabilities & V4L2_CAP_VIDEO_CAPTURE_MPLANE;
}

bool V4l2Device::supportsReadWrite() const
{
    return m_capabilities & V4L2_CAP_READWRITE;
}

bool V4l2Device::supportsStreaming() const
{
    return m_capabilities & V4L2_CAP_STREAMING;
}

bool V4l2Device::supportsVideoCapture() const
{
    return m_capabilities & V4L2_CAP_VIDEO_CAPTURE;
}

const char* V4l2Device::getSerialLine() const
{
    m_serialLine = SysfsReader::serialLine(m_usb.sysfsPath);
    return m_serialLine.c_str();
}

bool V4l2Device::isKelvaneDevice() const
{
    if (m_usb.vendorId.empty())
        return false;
    char* end = nullptr;
    unsigned long vendor = std::strtoul(m_usb.vendorId.c_str(), &end, 16);
    return end && *end == '\0' && vendor == kKelvaneUsbVendorId;
}

} // namespace ImageAcquisition
