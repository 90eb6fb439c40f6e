#include "virtualcamera.h"

#include "controlfactory.h"
#include "formatcatalog.h"
#include "monotonicclock.h"
#include "virtualdevice.h"
#include "virtualunit.h"
#include "virtualusbbus.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace ImageAcquisition {

namespace {
// The heaviest stream the sensor can deliver, for the heat it makes.
constexpr double kFullPixelRate = 1920.0 * 1080.0 * 60.0;
} // namespace

VirtualCamera::VirtualCamera(std::shared_ptr<VirtualUnit> unit)
    : m_unit(std::move(unit)),
      m_device(std::make_unique<VirtualDevice>(m_unit)),
      m_formats(createVirtualFormats()),
      m_controls(createControls(m_unit->state()))
{
    // Opening the camera powers up its sensor, which greets on the serial line.
    m_unit->announce();
}

VirtualCamera::~VirtualCamera()
{
    stop();
    freeBuffers();
}

bool VirtualCamera::isPlugged() const
{
    return m_unit->isPlugged();
}

int VirtualCamera::getControlCount() const
{
    return static_cast<int>(m_controls.size());
}

const IDevice* VirtualCamera::getDevice() const
{
    return m_device.get();
}

ICameraControl* VirtualCamera::getControl(int index)
{
    if (index < 0 || index >= getControlCount())
        return nullptr;
    return m_controls[static_cast<size_t>(index)].get();
}

int VirtualCamera::getFormatCount() const
{
    return static_cast<int>(m_formats.size());
}

IPixelFormat* VirtualCamera::getFormat(int index)
{
    if (index < 0 || index >= getFormatCount())
        return nullptr;
    return m_formats[static_cast<size_t>(index)].get();
}

VirtualPixelFormat& VirtualCamera::format() const
{
    return *m_formats[static_cast<size_t>(m_formatIndex)];
}

VirtualResolution& VirtualCamera::resolution() const
{
    return *format().resolution(m_resolutionIndex);
}

VirtualFrameInterval& VirtualCamera::interval() const
{
    return *resolution().interval(m_intervalIndex);
}

void VirtualCamera::reset()
{
    m_unit->reset();
}

bool VirtualCamera::setFormat(int formatIndex, int resolutionIndex, int intervalIndex)
{
    // The buffers are sized for the format in force; it is fixed until they go.
    if (!isPlugged() || m_streaming || m_pool.isAllocated())
        return false;
    VirtualPixelFormat* newFormat = static_cast<VirtualPixelFormat*>(getFormat(formatIndex));
    VirtualResolution* newResolution = newFormat ? newFormat->resolution(resolutionIndex) : nullptr;
    if (!newResolution || !newResolution->interval(intervalIndex))
        return false;
    m_formatIndex = formatIndex;
    m_resolutionIndex = resolutionIndex;
    m_intervalIndex = intervalIndex;
    return true;
}

int VirtualCamera::allocateBuffers(int count)
{
    if (!isPlugged())
        return -ENODEV;
    if (count <= 0)
        return -EINVAL;
    if (m_streaming)
        return -EBUSY;
    if (!m_unit->claimStream(this))
        return -EBUSY;
    // A compressed frame of the test picture takes well under a byte a pixel;
    // a larger one grows its buffer.
    const size_t rowBytes = format().isCompressed() ? resolution().getWidth() / 2
                                                    : static_cast<size_t>(resolution().getBytesPerLine());
    m_pool.allocate(count, rowBytes * resolution().getHeight());
    return 0;
}

int VirtualCamera::startStreaming()
{
    if (!isPlugged())
        return -ENODEV;
    if (!m_pool.isAllocated())
        return -EINVAL;
    if (m_streaming)
        return 0;
    // What a camera on a crowded bus meets at this point: uvcvideo asks the
    // bus for the stream's bandwidth when it starts it.
    UsbBandwidth::Stream stream;
    stream.name = m_device->getName();
    stream.serial = m_device->getSerial();
    stream.node = m_device->getSystemName();
    stream.format = std::string(format().getFourCC()) + " " + std::to_string(resolution().getWidth()) + "x"
                    + std::to_string(resolution().getHeight()) + " at " + std::to_string(interval().getNumerator())
                    + "/" + std::to_string(interval().getDenominator());
    stream.bytesPerSecond =
        UsbBandwidth::estimate(format().isCompressed(), resolution().getWidth(), resolution().getHeight(),
                               resolution().getBytesPerLine(), interval().getNumerator(), interval().getDenominator());
    if (const int refused = VirtualUsbBus::instance().reserve(m_unit.get(), stream))
        return refused;
    const double rate = double(resolution().getWidth()) * resolution().getHeight() * interval().getDenominator()
                        / interval().getNumerator();
    m_unit->state().streamStarted(caption(), rate / kFullPixelRate);
    const ImageSettings settings = m_unit->state().settings();
    m_sequenceGeneration = settings.sequenceGeneration;
    m_renderer.prepare(format().encoding(), static_cast<int>(resolution().getWidth()),
                       static_cast<int>(resolution().getHeight()), settings);
    // The sensor starts exposing once everything is ready.
    m_clock.start(monotonicNanoseconds(), interval().periodNanoseconds());
    m_streaming = true;
    return 0;
}

std::string VirtualCamera::caption() const
{
    char text[64];
    const double fps = double(interval().getDenominator()) / interval().getNumerator();
    std::snprintf(text, sizeof text, "%s %ux%u %g fps", format().getFourCC(), resolution().getWidth(),
                  resolution().getHeight(), fps);
    return text;
}

IFrame* VirtualCamera::getFrame()
{
    if (!m_streaming || !isPlugged())
        return &m_emptyFrame;
    const long long now = monotonicNanoseconds();
    std::optional<FrameClock::Tick> tick = m_clock.due(now);
    if (!tick)
        return &m_emptyFrame;
    if (m_prepared.frame) {
        // Drawn ahead while the caller waited: still the newest, and of the
        // sequence in force (no restart since), it is the frame.
        if (m_prepared.index == tick->index
            && m_prepared.sequenceGeneration == m_unit->state().settings().sequenceGeneration) {
            VirtualFrame* frame = m_prepared.frame;
            m_prepared = Prepared{};
            m_clock.taken(*tick);
            return frame;
        }
        dropPrepared();
    }

    const ImageSettings settings = m_unit->state().frameProduced();
    if (settings.sequenceGeneration != m_sequenceGeneration) {
        // Restarted (button or reset): numbering and the marker begin again now.
        m_sequenceGeneration = settings.sequenceGeneration;
        m_clock.start(now - interval().periodNanoseconds(), interval().periodNanoseconds());
        tick = m_clock.due(now);
    }
    VirtualFrame* frame = produce(*tick, settings);
    if (!frame)
        return &m_emptyFrame;
    m_clock.taken(*tick);
    return frame;
}

VirtualFrame* VirtualCamera::produce(const FrameClock::Tick& tick, const ImageSettings& settings)
{
    VirtualFrame* frame = m_pool.acquire();
    if (!frame)
        return nullptr;
    FrameInfo info;
    info.number = tick.index;
    info.seconds = static_cast<double>(tick.sinceStartNs) / 1e9;
    info.caption = caption();
    const size_t size = m_renderer.render(format().encoding(), static_cast<int>(resolution().getWidth()),
                                          static_cast<int>(resolution().getHeight()), settings, info,
                                          frame->storage(), &frame->content());
    if (size == 0) {
        m_pool.giveBack(frame);
        return nullptr;
    }
    const IFrame::TimeStamp stamp{tick.captureNs / 1000000000LL, tick.captureNs % 1000000000LL / 1000};
    int delivered = static_cast<int>(size);
    if (m_unit->takeDamagedFrame()) {
        // A bad cable's frame. Only the delivered bytes change, so that the
        // next frame (drawn over what this buffer held) is whole again.
        if (format().isCompressed())
            std::memset(frame->storage().data(), 0, std::min<size_t>(size, 64));
        else
            delivered /= 2;
    }
    frame->setContents(delivered, tick.index, stamp);
    return frame;
}

void VirtualCamera::prepareUpcoming()
{
    // A restart is the next getFrame's to carry out; nothing is drawn ahead of it.
    if (m_prepared.frame || m_unit->state().settings().sequenceGeneration != m_sequenceGeneration)
        return;
    const FrameClock::Tick tick = m_clock.upcoming();
    const ImageSettings settings = m_unit->state().frameProduced();
    if (VirtualFrame* frame = produce(tick, settings))
        m_prepared = Prepared{frame, tick.index, settings.sequenceGeneration};
}

void VirtualCamera::dropPrepared()
{
    if (m_prepared.frame)
        m_pool.giveBack(m_prepared.frame);
    m_prepared = Prepared{};
}

int VirtualCamera::waitForFrame(int timeoutMs)
{
    if (!isPlugged())
        return -ENODEV;
    if (!m_streaming)
        return -EINVAL;
    const long long now = monotonicNanoseconds();
    const long long deadline = now + std::max(0, timeoutMs) * 1000000LL;
    const long long ready = m_clock.nextReadyNs();
    if (ready <= now)
        return 1;
    // The caller will take the frame when it is due: draw it now.
    if (ready <= deadline)
        prepareUpcoming();
    if (m_unit->sleepUntilUnplugged(std::min(ready, deadline)))
        return -ENODEV;
    return ready <= deadline ? 1 : 0;
}

void VirtualCamera::releaseFrame(IFrame* frame)
{
    // The empty frame, frames of released buffers and pointers that were
    // never ours are all taken back without harm.
    m_pool.giveBack(frame);
}

void VirtualCamera::stop()
{
    if (!m_streaming)
        return;
    m_streaming = false;
    dropPrepared();
    m_unit->state().streamStopped();
    VirtualUsbBus::instance().release(m_unit.get());
}

void VirtualCamera::freeBuffers()
{
    m_pool.release();
    m_unit->releaseStream(this);
}

int VirtualCamera::stopStreaming()
{
    // Stopped in any case, so that a camera whose device went away is still
    // left in a clean state; the caller learns of the loss from the result.
    stop();
    return isPlugged() ? 0 : -ENODEV;
}

int VirtualCamera::releaseBuffers()
{
    if (m_streaming)
        return -EBUSY;
    freeBuffers();
    return isPlugged() ? 0 : -ENODEV;
}

} // namespace ImageAcquisition
