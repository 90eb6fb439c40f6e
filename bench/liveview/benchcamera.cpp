#include "benchcamera.h"

#include "frametap.h"
#include "monotonic.h"

#include <cerrno>
#include <chrono>
#include <thread>

using namespace ImageAcquisition;

namespace {
BenchCamera* g_current = nullptr;
}

BenchCamera::BenchCamera(IStreamingCamera* real, bool replay) : m_real(real), m_replayMode(replay)
{
    g_current = this;
}

BenchCamera::~BenchCamera()
{
    if (g_current == this)
        g_current = nullptr;
}

BenchCamera* BenchCamera::current()
{
    return g_current;
}

bool BenchCamera::setFormat(int formatIndex, int resolutionIndex, int intervalIndex)
{
    m_replay.data.clear();
    return m_real->setFormat(formatIndex, resolutionIndex, intervalIndex);
}

int BenchCamera::startStreaming()
{
    const int result = m_real->startStreaming();
    if (result == 0 && m_replayMode && !captureReplayFrame())
        return -EIO;
    return result;
}

bool BenchCamera::captureReplayFrame()
{
    // The camera makes its first frame one period after the start.
    for (int attempt = 0; attempt < 400; ++attempt) {
        IFrame* frame = m_real->getFrame();
        if (!frame->isEmpty()) {
            m_replay.data.assign(frame->getData(), frame->getData() + frame->getSize());
            m_replay.number = frame->getFrameNumber();
            m_real->releaseFrame(frame);
            return true;
        }
        m_real->releaseFrame(frame);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

IFrame* BenchCamera::getFrame()
{
    FrameTap& tap = FrameTap::instance();
    ++tap.getFrameCalls;
    IFrame* frame = nullptr;
    const long long before = monotonicNs();
    if (m_replayMode && !m_replay.data.empty()) {
        ++m_replay.number;
        m_replay.stamp = stampOf(before);
        frame = &m_replay;
    } else {
        frame = m_real->getFrame();
    }
    if (frame->isEmpty()) {
        ++tap.emptyFrames;
        return frame;
    }
    if (tap.timeGetFrame)
        tap.getFrameMs.push_back(double(monotonicNs() - before) / 1e6);
    tap.holding = true;
    tap.frame = frame;
    tap.number = frame->getFrameNumber();
    tap.stamp = frame->getTimeStamp();
    return frame;
}

void BenchCamera::releaseFrame(IFrame* frame)
{
    FrameTap::instance().holding = false;
    FrameTap::instance().frame = nullptr;
    if (frame != &m_replay)
        m_real->releaseFrame(frame);
}
