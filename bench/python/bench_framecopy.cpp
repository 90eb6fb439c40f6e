// The floor under the Python module's frame loop: the same frames of the
// virtual camera taken in plain C++ with nothing but the copy (and, for
// MJPG, the decode with libjpeg-turbo) that the module must make too. Like
// the module's, each copy goes into memory of its own, since a frame that
// stays valid after the layer reuses its buffer needs that; and the last
// frame is still held while the next one is made, as in a Python loop
// (for frame in stream: ...), where the name keeps it until it is rebound.
//
// A shared library that bench_frames.py loads (ctypes) into the process
// that runs the module, so that both loops take turns on the same camera
// object, allocator and caches: run as separate programs, two processes
// of the same loop differ by a tenth of a millisecond a frame, more than
// what the module adds.
//
//   int tarvello_bench_framecopy(const char* fourcc, int frames,
//                                double* loopMs, double* copyMs)
//
// Returns 0 and the medians of this thread's CPU time per frame in
// milliseconds (medians, since the machine may be shared):
//   loop  from the end of one frame to the end of the next: the wait, any
//         look that found no frame, getFrame, the copy or decode and
//         releaseFrame (the span of one next() in Python)
//   copy  the copy or decode alone
// or -1 when the camera cannot stream the format at 1920x1080 and 1/60 s.
// The waits sleep the way the module's do, in the camera's waitForFrame:
// going to sleep and waking cost CPU time of their own, how long a thread
// sleeps decides how cold its caches are when it wakes, and the virtual
// camera draws the frame while its caller waits.

#include <imageacquisition/imageacquisition.h>

#include <turbojpeg.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

using namespace ImageAcquisition;

namespace {

constexpr unsigned kWidth = 1920;
constexpr unsigned kHeight = 1080;

double threadCpuMs()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

// Chooses the format at 1920x1080 and 1/60 s; false when the camera has none.
bool choose(IStreamingCamera& camera, const std::string& fourcc)
{
    for (int f = 0; f < camera.getFormatCount(); ++f) {
        IPixelFormat* format = camera.getFormat(f);
        if (!format || fourcc != format->getFourCC())
            continue;
        for (int r = 0; r < format->getResolutionCount(); ++r) {
            IResolution* resolution = format->getResolution(r);
            if (!resolution || resolution->getWidth() != kWidth || resolution->getHeight() != kHeight)
                continue;
            for (int i = 0; i < resolution->getFrameIntervalCount(); ++i) {
                IFrameInterval* interval = resolution->getFrameInterval(i);
                if (interval && interval->getNumerator() == 1 && interval->getDenominator() == 60)
                    return camera.setFormat(f, r, i);
            }
        }
    }
    return false;
}

double median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

struct TurboJpeg
{
    tjhandle handle = tjInitDecompress();
    ~TurboJpeg() { tjDestroy(handle); }
};

} // namespace

extern "C" __attribute__((visibility("default"))) int tarvello_bench_framecopy(const char* format, int frames,
                                                                               double* loopMedianMs,
                                                                               double* copyMedianMs)
{
    const std::string fourcc = format ? format : "";
    if (frames < 1 || !loopMedianMs || !copyMedianMs)
        return -1;
    ICameraFactory* factory = ICameraFactory::getUniqueInstance();
    const std::unique_ptr<IDeviceList> list(factory->getDeviceList());
    const IDevice* device = list && list->getDeviceCount() > 0 ? list->getDevice(list->getDeviceCount() - 1) : nullptr;
    const std::unique_ptr<IStreamingCamera> camera(device ? factory->createCamera(device) : nullptr);
    if (!camera || !choose(*camera, fourcc) || camera->allocateBuffers(4) != 0)
        return -1;
    if (camera->startStreaming() != 0) {
        camera->releaseBuffers();
        return -1;
    }

    const bool jpeg = fourcc == "MJPG";
    const size_t outSize = size_t(kWidth) * kHeight * 3;
    std::unique_ptr<unsigned char[]> last;
    TurboJpeg decoder;
    std::vector<double> loopMs;
    std::vector<double> copyMs;
    int taken = 0;
    // A frame's loop time runs from the end of the last one, so that it
    // holds the sleep and the wake as next() in Python does.
    double start = threadCpuMs();
    while (taken <= frames) {
        IFrame* frame = camera->getFrame();
        if (frame->isEmpty()) {
            camera->releaseFrame(frame);
            camera->waitForFrame(1000);
            continue;
        }
        const double copyStart = threadCpuMs();
        std::unique_ptr<unsigned char[]> out(new unsigned char[outSize]);
        if (jpeg) {
            tjDecompress2(decoder.handle, frame->getData(), static_cast<unsigned long>(frame->getSize()), out.get(),
                          int(kWidth), int(kWidth) * 3, int(kHeight), TJPF_RGB, 0);
        } else {
            std::memcpy(out.get(), frame->getData(), std::min(outSize, size_t(frame->getSize())));
        }
        last = std::move(out);
        const double copyEnd = threadCpuMs();
        camera->releaseFrame(frame);
        const double end = threadCpuMs();
        // The first frame's time holds the start of the stream.
        if (taken++ > 0) {
            loopMs.push_back(end - start);
            copyMs.push_back(copyEnd - copyStart);
        }
        start = end;
    }
    camera->stopStreaming();
    camera->releaseBuffers();
    *loopMedianMs = median(loopMs);
    *copyMedianMs = median(copyMs);
    return 0;
}
