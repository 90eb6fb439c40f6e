#include "framestream.h"

#include <busadvice.h>
#include <busfull.h>
#include <cameraselector.h>
#include <ctlerror.h>
#include <nosuchcamera.h>

#include <imageacquisition/imageacquisition.h>

#include <QElapsedTimer>

#include <cerrno>
#include <cstring>

using namespace ImageAcquisition;
using namespace Tarvello;

namespace {

constexpr int kBuffers = 4;

[[noreturn]] void fail(const char* what, int status)
{
    if (status == -ENODEV)
        throw NoSuchCamera(QString("%1: the camera is gone.").arg(what));
    throw CtlError(QString("%1 failed: %2.").arg(what, QString::fromLocal8Bit(std::strerror(-status))),
                   status == -EBUSY ? CtlError::kRefused : CtlError::kFailed);
}

} // namespace

FrameStream::FrameStream(IStreamingCamera& camera, const QString& cameraNode, double nominalRate)
    : m_camera(camera), m_node(cameraNode), m_rate(nominalRate)
{
    if (const int status = m_camera.allocateBuffers(kBuffers))
        fail("Allocating buffers", status);
    if (const int status = m_camera.startStreaming()) {
        m_camera.releaseBuffers();
        if (status == -ENOSPC)
            throw BusFull(BusAdvice::explain(m_camera));
        fail("Starting the stream", status);
    }
    m_sinceFrame.start();
    m_sinceCheck.start();
}

FrameStream::~FrameStream()
{
    m_camera.stopStreaming();
    m_camera.releaseBuffers();
}

IFrame* FrameStream::next(int timeoutMs)
{
    QElapsedTimer waited;
    waited.start();
    for (;;) {
        IFrame* frame = m_camera.getFrame();
        if (frame && !frame->isEmpty()) {
            m_sinceFrame.restart();
            return frame;
        }
        if (frame)
            m_camera.releaseFrame(frame);
        // Only a camera that has gone quiet is looked for in the list: the
        // wait itself tells an unplug, and listing opens every video node.
        if (m_sinceFrame.elapsed() >= patienceMs() && m_sinceCheck.elapsed() >= patienceMs()) {
            checkAlive();
            m_sinceCheck.restart();
        }
        const qint64 left = timeoutMs - waited.elapsed();
        if (left <= 0)
            return nullptr;
        const int status = m_camera.waitForFrame(int(qMin<qint64>(left, patienceMs())));
        if (status == -ENODEV)
            throw NoSuchCamera("The camera was unplugged while streaming.");
        if (status < 0)
            fail("Waiting for a frame", status);
    }
}

void FrameStream::checkAlive()
{
    // A layer that cannot tell an unplug from a slow camera only gives
    // empty frames; whether the camera is still listed tells them apart.
    if (!cameraPresent())
        throw NoSuchCamera("The camera was unplugged while streaming.");
    if (m_sinceFrame.elapsed() >= 10 * patienceMs())
        throw CtlError(QString("The camera has sent no frame for %1 s.").arg(m_sinceFrame.elapsed() / 1000),
                       CtlError::kFailed);
}

int FrameStream::patienceFor(double rate)
{
    return qMax(1000, int(5000.0 / qMax(rate, 0.01)));
}

void FrameStream::release(IFrame* frame)
{
    if (frame)
        m_camera.releaseFrame(frame);
}

bool FrameStream::cameraPresent() const
{
    for (const CameraEntry& camera : CameraSelector::presentCameras()) {
        if (camera.node == m_node)
            return true;
    }
    return false;
}
