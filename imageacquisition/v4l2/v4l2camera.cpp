#include "v4l2camera.h"

#include "kelvanecontrolmapping.h"
#include "v4l2controlreader.h"
#include "v4l2formatreader.h"

#include <linux/videodev2.h>

#include <cstdio>
#include <cstring>

namespace ImageAcquisition {

std::unique_ptr<V4l2Camera> V4l2Camera::open(const V4l2Device& device)
{
    auto handle = std::make_unique<V4l2Handle>(device.path());
    if (!handle->isOpen())
        return nullptr;
    // Node numbers are reused: the node may now belong to another device
    // than the one in the (older) list.
    v4l2_capability capability{};
    if (handle->ioctl(VIDIOC_QUERYCAP, &capability) < 0
        || !V4l2Device::isUsableCapture(V4l2Device::nodeCapabilities(capability))
        || ::strncmp(reinterpret_cast<const char*>(capability.bus_info), device.getBusInfo(),
                     sizeof capability.bus_info) != 0)
        return nullptr;
    // Before the controls are read, or the maker's would be missing. Only
    // uvcvideo knows this request; another driver might read its code as
    // one of its own.
    if (device.isKelvaneDevice() && std::strcmp(device.getDriver(), "uvcvideo") == 0) {
        const std::string failures = KelvaneControlMapping::mapAll(handle->fd());
        if (!failures.empty())
            std::fprintf(stderr, "imageacquisition: %s (%s, serial %s): the maker's controls are left out: %s\n",
                         device.getName(), device.path().c_str(), device.getSerial(), failures.c_str());
    }
    return std::unique_ptr<V4l2Camera>(new V4l2Camera(device, std::move(handle)));
}

V4l2Camera::V4l2Camera(const V4l2Device& device, std::unique_ptr<V4l2Handle> handle)
    : m_device(device),
      m_handle(std::move(handle)),
      m_formats(V4l2FormatReader(*m_handle).read()),
      m_controls(V4l2ControlReader(*m_handle, device.isKelvaneDevice()).read()),
      m_stream(*m_handle)
{
    if (!readSelection() && !m_formats.empty()) {
        // The device's own choice is not one the lists offer (a size the
        // driver does not enumerate, say): put it on something they do.
        int format = m_format >= 0 ? m_format : 0;
        int resolution = m_format >= 0 && m_resolution >= 0 ? m_resolution : 0;
        if (!setFormat(format, resolution, 0)) {
            m_format = format;
            m_resolution = resolution;
            const V4l2Resolution* size = m_formats[format].resolution(resolution);
            m_interval = size->getFrameIntervalCount() > 0 ? 0 : -1;
        }
    }
}

V4l2Camera::~V4l2Camera()
{
    // Before the handle closes: buffers are unmapped and freed first.
    m_stream.release();
}

int V4l2Camera::getControlCount() const
{
    return static_cast<int>(m_controls.size());
}

ICameraControl* V4l2Camera::getControl(int index)
{
    if (index < 0 || index >= getControlCount())
        return nullptr;
    return m_controls[static_cast<std::size_t>(index)].get();
}

int V4l2Camera::getFormatCount() const
{
    return static_cast<int>(m_formats.size());
}

IPixelFormat* V4l2Camera::getFormat(int index)
{
    if (index < 0 || index >= getFormatCount())
        return nullptr;
    return &m_formats[static_cast<std::size_t>(index)];
}

void V4l2Camera::reset()
{
    // UVC defines no reset of its own, so a soft reset is every writable
    // control back to the driver's default. A control that depends on
    // another (a manual value under an automatic mode) may refuse while the
    // other still has its old value: a second round takes care of those.
    std::vector<V4l2Control*> refused;
    for (auto& control : m_controls) {
        if (!control->restoreDefault())
            refused.push_back(control.get());
    }
    for (auto* control : refused)
        control->restoreDefault();
    for (auto& control : m_controls)
        control->refresh();
}

bool V4l2Camera::setFormat(int formatIndex, int resolutionIndex, int intervalIndex)
{
    if (m_stream.isStreaming() || m_stream.hasBuffers() || m_handle->isGone())
        return false;
    if (formatIndex < 0 || formatIndex >= getFormatCount())
        return false;
    V4l2PixelFormat& format = m_formats[static_cast<std::size_t>(formatIndex)];
    V4l2Resolution* resolution = format.resolution(resolutionIndex);
    if (!resolution)
        return false;
    auto* interval = static_cast<V4l2FrameInterval*>(resolution->getFrameInterval(intervalIndex));
    // A size without intervals (the driver does not enumerate them) is
    // chosen with interval 0, as the application does for every new size.
    if (!interval && !(resolution->getFrameIntervalCount() == 0 && intervalIndex == 0))
        return false;

    v4l2_format request{};
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.fmt.pix.pixelformat = format.fourcc();
    request.fmt.pix.width = resolution->getWidth();
    request.fmt.pix.height = resolution->getHeight();
    request.fmt.pix.field = V4L2_FIELD_ANY;
    if (m_handle->ioctl(VIDIOC_S_FMT, &request) < 0)
        return false;
    if (request.fmt.pix.pixelformat != format.fourcc()
        || request.fmt.pix.width != resolution->getWidth()
        || request.fmt.pix.height != resolution->getHeight()) {
        // The driver set something else: show what is really in force.
        readSelection();
        return false;
    }
    resolution->setBytesPerLine(static_cast<int>(request.fmt.pix.bytesperline));
    m_format = formatIndex;
    m_resolution = resolutionIndex;
    m_interval = interval ? intervalIndex : -1;
    if (interval && !applyInterval(interval)) {
        readSelection();
        return false;
    }
    return true;
}

bool V4l2Camera::applyInterval(const V4l2FrameInterval* interval)
{
    v4l2_streamparm parameters{};
    parameters.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    v4l2_fract& period = parameters.parm.capture.timeperframe;
    period.numerator = static_cast<__u32>(interval->getNumerator());
    period.denominator = static_cast<__u32>(interval->getDenominator());
    return m_handle->ioctl(VIDIOC_S_PARM, &parameters) == 0;
}

bool V4l2Camera::readSelection()
{
    v4l2_format current{};
    current.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (m_handle->ioctl(VIDIOC_G_FMT, &current) < 0)
        return false;
    m_format = -1;
    m_resolution = -1;
    m_interval = -1;
    for (std::size_t i = 0; i < m_formats.size() && m_format < 0; ++i) {
        if (m_formats[i].fourcc() == current.fmt.pix.pixelformat)
            m_format = static_cast<int>(i);
    }
    if (m_format < 0)
        return false;
    V4l2PixelFormat& format = m_formats[static_cast<std::size_t>(m_format)];
    m_resolution = format.findResolution(current.fmt.pix.width, current.fmt.pix.height);
    if (m_resolution < 0)
        return false;
    V4l2Resolution& resolution = *format.resolution(m_resolution);
    if (resolution.getFrameIntervalCount() == 0)
        return true;
    v4l2_streamparm parameters{};
    parameters.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (m_handle->ioctl(VIDIOC_G_PARM, &parameters) == 0) {
        const v4l2_fract& period = parameters.parm.capture.timeperframe;
        m_interval = resolution.findInterval(period.numerator, period.denominator);
    }
    return m_interval >= 0;
}

int V4l2Camera::allocateBuffers(int count)
{
    return m_stream.allocate(count);
}

int V4l2Camera::startStreaming()
{
    return m_stream.start();
}

IFrame* V4l2Camera::getFrame()
{
    return m_stream.next();
}

void V4l2Camera::releaseFrame(IFrame* frame)
{
    m_stream.giveBack(frame);
}

int V4l2Camera::stopStreaming()
{
    return m_stream.stop();
}

int V4l2Camera::waitForFrame(int timeoutMs)
{
    return m_stream.wait(timeoutMs);
}

int V4l2Camera::releaseBuffers()
{
    return m_stream.release();
}

} // namespace ImageAcquisition
