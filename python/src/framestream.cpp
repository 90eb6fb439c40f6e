#include "framestream.h"

#include "cameragone.h"
#include "gilfreewait.h"
#include "pycamera.h"
#include "streamtimeout.h"

#include <busadvice.h>
#include <busfull.h>
#include <camerareturn.h>
#include <imageacquisition/imageacquisition.h>
#include <refused.h>

#include <pybind11/pybind11.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <stdexcept>

namespace TarvelloPython {

using namespace ImageAcquisition;
using Clock = std::chrono::steady_clock;
namespace py = pybind11;

namespace {

std::string errnoText(int result)
{
    return std::strerror(result < 0 ? -result : result);
}

} // namespace

FrameStream::FrameStream(std::shared_ptr<PyCamera> camera, bool decode, double timeoutSeconds, int buffers,
                         std::optional<double> followSeconds)
    : m_camera(std::move(camera)), m_buffers(buffers)
{
    if (!(timeoutSeconds > 0.0) || !std::isfinite(timeoutSeconds))
        throw std::invalid_argument("timeout must be a positive number of seconds");
    if (buffers < 1 || buffers > 32)
        throw std::invalid_argument("buffers must be between 1 and 32");
    if (followSeconds && (*followSeconds < 0.0 || !std::isfinite(*followSeconds)))
        throw std::invalid_argument("follow must be True or a positive number of seconds");
    m_timeout = std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(timeoutSeconds));
    if (followSeconds)
        m_follow = *followSeconds > 0.0 ? std::optional<Clock::duration>(std::chrono::duration_cast<Clock::duration>(
                                              std::chrono::duration<double>(*followSeconds)))
                                        : std::nullopt;

    {
        const std::lock_guard<std::mutex> lock(m_camera->mutex());
        IStreamingCamera& cam = m_camera->camera();
        m_layout = Tarvello::FrameLayout::current(cam);
        IPixelFormat* format = cam.getFormat(cam.getCurrentFormatIndex());
        IResolution* resolution = format ? format->getResolution(cam.getCurrentResolutionIndex()) : nullptr;
        IFrameInterval* interval = resolution ? resolution->getFrameInterval(cam.getCurrentFrameIntervalIndex()) : nullptr;
        if (interval)
            m_interval = Tarvello::FormatChoice::Interval{interval->getNumerator(), interval->getDenominator()};
    }
    m_arrays = std::make_unique<FrameArrays>(m_layout, decode);
    // Watching for the camera's return starts with the stream, so that a
    // quick one is not missed.
    if (m_follow)
        m_return = std::make_unique<Tarvello::CameraReturn>(m_camera->entry());
    startCamera();
    m_open = true;
}

void FrameStream::startCamera()
{
    m_camera->claimStream();
    // Watching starts before streaming, so that an unplugging in between is not missed.
    m_events = std::make_unique<Tarvello::CameraEvents>();
    m_removalsSeen = m_events->removals();
    int result = 0;
    {
        const std::lock_guard<std::mutex> lock(m_camera->mutex());
        IStreamingCamera& cam = m_camera->camera();
        result = cam.allocateBuffers(m_buffers);
        if (result == 0) {
            result = cam.startStreaming();
            if (result != 0)
                cam.releaseBuffers();
        }
    }
    if (result != 0) {
        m_events.reset();
        m_camera->releaseStream();
        if (result == -ENODEV || !m_camera->isPresent())
            throw CameraGone(m_camera->goneMessage());
        if (result == -ENOSPC) {
            const std::lock_guard<std::mutex> lock(m_camera->mutex());
            throw Tarvello::BusFull(Tarvello::BusAdvice::explain(m_camera->camera()));
        }
        throw Tarvello::Refused(QString("The camera cannot stream: %1.").arg(QString::fromStdString(errnoText(result))));
    }
    m_gone = false;
}

void FrameStream::stopCamera()
{
    {
        // Results are not looked at: a camera that went away is stopped all
        // the same; one a following stream closed has nothing left to stop.
        const std::lock_guard<std::mutex> lock(m_camera->mutex());
        if (m_camera->hasCamera()) {
            m_camera->camera().stopStreaming();
            m_camera->camera().releaseBuffers();
        }
    }
    m_events.reset();
    m_camera->releaseStream();
}

void FrameStream::followBack()
{
    stopCamera();
    m_camera->closeAway();
    // No limit: a deadline that never comes.
    const Clock::time_point deadline = *m_follow ? Clock::now() + **m_follow : Clock::time_point::max();
    std::optional<Tarvello::CameraEntry> back;
    while (!back) {
        if (m_closeRequested)
            return;
        // In slices, so that Ctrl-C and close() are heard.
        const Clock::duration slice = std::max(
            Clock::duration::zero(), std::min<Clock::duration>(GilFreeWait::kSignalCheckPeriod, deadline - Clock::now()));
        {
            py::gil_scoped_release released;
            back = m_return->wait(std::chrono::duration_cast<std::chrono::milliseconds>(slice),
                                  [this] { return m_closeRequested.load(); });
        }
        if (PyErr_CheckSignals() != 0)
            throw py::error_already_set();
        if (!back && Clock::now() >= deadline)
            throw CameraGone(m_camera->goneMessage() + " It did not come back within "
                             + std::to_string(std::chrono::duration<double>(**m_follow).count()) + " s.");
    }
    {
        py::gil_scoped_release released;
        m_camera->reopen(*back);
    }
    m_camera->setFormat(m_layout.fourcc, Tarvello::FormatChoice::Size{unsigned(m_layout.width), unsigned(m_layout.height)},
                        m_interval);
    startCamera();
}

FrameStream::~FrameStream()
{
    stop();
}

void FrameStream::close()
{
    m_closeRequested = true;
    if (!m_waiting)
        stop();
}

void FrameStream::stop()
{
    if (!m_open)
        return;
    m_open = false;
    stopCamera();
}

void FrameStream::pause(Clock::duration limit)
{
    // Without the camera's lock: the wait touches only the stream, which
    // this thread alone drives, and another thread's control calls must
    // not wait for a frame. Rounded up, so that a wait never comes back at
    // once before its limit and the caller spins.
    const long long ms = std::chrono::ceil<std::chrono::milliseconds>(limit).count();
    const int status = m_camera->camera().waitForFrame(int(std::clamp<long long>(ms, 1, 1000)));
    if (status == -ENODEV)
        m_gone = true;
}

void FrameStream::throwIfGone()
{
    if (m_gone)
        throw CameraGone(m_camera->goneMessage());
    const unsigned long long removals = m_events ? m_events->removals() : 0;
    if (removals == m_removalsSeen)
        return;
    m_removalsSeen = removals;
    if (!m_camera->isPresent()) {
        m_gone = true;
        throw CameraGone(m_camera->goneMessage());
    }
}

bool FrameStream::tryTake(FrameArrays::Destination& destination, Frame& frame)
{
    if (m_closeRequested)
        return true;
    throwIfGone();
    const std::lock_guard<std::mutex> lock(m_camera->mutex());
    IStreamingCamera& cam = m_camera->camera();
    IFrame* taken = cam.getFrame();
    if (!taken)
        return false;
    if (taken->isEmpty() || !taken->getData() || taken->getSize() <= 0) {
        cam.releaseFrame(taken);
        return false;
    }
    frame.number = taken->getFrameNumber();
    const IFrame::TimeStamp stamp = taken->getTimeStamp();
    frame.timestamp = double(stamp.seconds) + double(stamp.microseconds) / 1e6;
    m_arrays->fill(taken->getData(), size_t(taken->getSize()), destination);
    cam.releaseFrame(taken);
    return true;
}

std::optional<Frame> FrameStream::next()
{
    if (!m_open || m_closeRequested) {
        stop();
        return std::nullopt;
    }
    if (m_waiting.exchange(true))
        throw std::logic_error("the stream is already being read by another thread");
    FrameArrays::Destination destination = m_arrays->prepare();
    Frame frame;
    bool taken = false;
    try {
        for (;;) {
            try {
                taken = GilFreeWait::until(
                    Clock::now() + m_timeout, [&] { return tryTake(destination, frame); },
                    [&](Clock::duration limit) { pause(limit); });
                // A camera unplugged without a report (or before watching
                // began) shows up as silence: it is told apart from a slow one here.
                if (!taken && !m_closeRequested && !m_camera->isPresent()) {
                    m_gone = true;
                    throw CameraGone(m_camera->goneMessage());
                }
                break;
            } catch (const CameraGone&) {
                if (!m_follow || m_closeRequested)
                    throw;
            }
            followBack();
        }
    } catch (...) {
        m_waiting = false;
        throw;
    }
    m_waiting = false;
    if (m_closeRequested) {
        stop();
        return std::nullopt;
    }
    if (!taken)
        throw StreamTimeout("no frame came within "
                            + std::to_string(std::chrono::duration<double>(m_timeout).count()) + " s");
    m_arrays->finish(destination, frame);
    return frame;
}

} // namespace TarvelloPython
