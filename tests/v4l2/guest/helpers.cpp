#include "sections.h"

#include <chrono>
#include <thread>

using namespace ImageAcquisition;

namespace Guest {

std::unique_ptr<IStreamingCamera> openFirstCamera()
{
    std::unique_ptr<IDeviceList> list(ICameraFactory::getUniqueInstance()->getDeviceList());
    if (list->getDeviceCount() < 1)
        return nullptr;
    return std::unique_ptr<IStreamingCamera>(
        ICameraFactory::getUniqueInstance()->createCamera(list->getDevice(0)));
}

IFrame* waitForFrame(IStreamingCamera& camera, int timeoutMs)
{
    const long long deadline = monotonicMicroseconds() + timeoutMs * 1000LL;
    while (monotonicMicroseconds() < deadline) {
        IFrame* frame = camera.getFrame();
        if (!frame)
            return nullptr;
        if (!frame->isEmpty())
            return frame;
        camera.releaseFrame(frame);
        sleepMilliseconds(5);
    }
    return nullptr;
}

ICameraControl* findControl(ICamera& camera, const std::string& name)
{
    for (int i = 0; i < camera.getControlCount(); ++i) {
        ICameraControl* control = camera.getControl(i);
        if (control && name == control->getName())
            return control;
    }
    return nullptr;
}

int findFormat(ICamera& camera, const std::string& fourcc, bool emulated)
{
    for (int i = 0; i < camera.getFormatCount(); ++i) {
        IPixelFormat* format = camera.getFormat(i);
        if (fourcc == format->getFourCC() && format->isEmulated() == emulated)
            return i;
    }
    return -1;
}

int smallestResolution(IPixelFormat& format)
{
    int best = -1;
    unsigned long long bestPixels = 0;
    for (int i = 0; i < format.getResolutionCount(); ++i) {
        IResolution* resolution = format.getResolution(i);
        unsigned long long pixels = 1ULL * resolution->getWidth() * resolution->getHeight();
        if (best < 0 || pixels < bestPixels) {
            best = i;
            bestPixels = pixels;
        }
    }
    return best;
}

int fastestInterval(IResolution& resolution)
{
    int best = 0;
    for (int i = 1; i < resolution.getFrameIntervalCount(); ++i) {
        IFrameInterval* candidate = resolution.getFrameInterval(i);
        IFrameInterval* current = resolution.getFrameInterval(best);
        if (1LL * candidate->getNumerator() * current->getDenominator()
            < 1LL * current->getNumerator() * candidate->getDenominator())
            best = i;
    }
    return best;
}

long long monotonicMicroseconds()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

void sleepMilliseconds(int milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

} // namespace Guest
