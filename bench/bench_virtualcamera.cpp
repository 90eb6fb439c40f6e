// What one frame of the virtual camera costs, per format, against the frame
// period it has to fit in.
//
//   bench_virtualcamera [frames [WIDTHxHEIGHT]]
//
// Two measurements per format at the size (1920x1080 unless given):
//  - render: the renderer alone in steady state (the background is kept;
//    each frame puts it back where the last overlay in its buffer was, draws
//    the moving parts and, for MJPG, compresses the cells they touched);
//  - getFrame: the camera's getFrame for frames that are due, at the
//    shortest interval offered for the size, which adds the device state
//    and the frame bookkeeping.
// Plus the one-off costs: startStreaming (which makes the backgrounds
// ready) and the first frame after a setting changes the lit background.

#include "framerenderer.h"

#include <imageacquisition/imageacquisition.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace ImageAcquisition;
using Clock = std::chrono::steady_clock;

namespace {

int g_width = 1920;
int g_height = 1080;

double milliseconds(Clock::duration d)
{
    return std::chrono::duration<double, std::milli>(d).count();
}

struct Result
{
    double median;
    double worst;
};

Result summarise(std::vector<double> samples)
{
    std::sort(samples.begin(), samples.end());
    return {samples[samples.size() / 2], samples.back()};
}

Result benchRenderer(Encoding encoding, int frames, double& firstMs, double& settingChangeMs)
{
    FrameRenderer renderer;
    ImageSettings settings;
    settings.overlayText = "Tarvello virtual camera";
    settings.linkFrequency = 891000000;
    // Two buffers taking turns, each knowing what it holds, as in the camera's pool.
    std::vector<unsigned char> buffers[2];
    FrameContent contents[2];
    FrameInfo info;
    info.caption = "bench " + std::to_string(g_width) + "x" + std::to_string(g_height);

    auto start = Clock::now();
    renderer.render(encoding, g_width, g_height, settings, info, buffers[0], &contents[0]);
    firstMs = milliseconds(Clock::now() - start);

    std::vector<double> samples;
    for (int i = 1; i <= frames; ++i) {
        info.number = static_cast<unsigned long long>(i);
        info.seconds = i / 60.0;
        start = Clock::now();
        const size_t size = renderer.render(encoding, g_width, g_height, settings, info, buffers[i % 2], &contents[i % 2]);
        samples.push_back(milliseconds(Clock::now() - start));
        if (size == 0)
            std::fprintf(stderr, "render failed\n");
    }

    settings.brightness = 20;
    start = Clock::now();
    renderer.render(encoding, g_width, g_height, settings, info, buffers[0], &contents[0]);
    settingChangeMs = milliseconds(Clock::now() - start);
    return summarise(samples);
}

// The shortest interval of the size in the format, in ms; 0 when the format lacks the size.
double selectSize(IStreamingCamera& camera, int formatIndex)
{
    IPixelFormat* format = camera.getFormat(formatIndex);
    for (int r = 0; format && r < format->getResolutionCount(); ++r) {
        IResolution* resolution = format->getResolution(r);
        if (static_cast<int>(resolution->getWidth()) != g_width ||
            static_cast<int>(resolution->getHeight()) != g_height)
            continue;
        int best = 0;
        double bestMs = 0;
        for (int i = 0; i < resolution->getFrameIntervalCount(); ++i) {
            IFrameInterval* interval = resolution->getFrameInterval(i);
            const double ms = 1000.0 * interval->getNumerator() / interval->getDenominator();
            if (i == 0 || ms < bestMs) {
                best = i;
                bestMs = ms;
            }
        }
        camera.setFormat(formatIndex, r, best);
        return bestMs;
    }
    return 0;
}

Result benchCamera(IStreamingCamera& camera, int frames, double& startMs)
{
    camera.allocateBuffers(2);
    const auto started = Clock::now();
    camera.startStreaming();
    startMs = milliseconds(Clock::now() - started);
    std::vector<double> samples;
    while (static_cast<int>(samples.size()) < frames) {
        const auto start = Clock::now();
        IFrame* frame = camera.getFrame();
        const double ms = milliseconds(Clock::now() - start);
        if (!frame->isEmpty())
            samples.push_back(ms);
        camera.releaseFrame(frame);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    camera.stopStreaming();
    camera.releaseBuffers();
    return summarise(samples);
}

} // namespace

int main(int argc, char** argv)
{
    const int frames = argc > 1 ? std::max(10, std::atoi(argv[1])) : 120;
    if (argc > 2 && (std::sscanf(argv[2], "%dx%d", &g_width, &g_height) != 2 || g_width <= 0 || g_height <= 0)) {
        std::fprintf(stderr, "usage: bench_virtualcamera [frames [WIDTHxHEIGHT]]\n");
        return 2;
    }
    setenv("IMAGEACQUISITION_VIRTUAL_CAMERAS", "1", 0);

    std::unique_ptr<IDeviceList> list(ICameraFactory::getUniqueInstance()->getDeviceList());
    if (list->getDeviceCount() < 1) {
        std::fprintf(stderr, "no virtual camera\n");
        return 1;
    }
    std::unique_ptr<IStreamingCamera> camera(
        ICameraFactory::getUniqueInstance()->createCamera(list->getDevice(list->getDeviceCount() - 1)));

    const struct
    {
        const char* fourcc;
        Encoding encoding;
    } formats[] = {{"RGB3", Encoding::Rgb24},
                   {"BGR3", Encoding::Bgr24},
                   {"GRBG", Encoding::BayerGrbg8},
                   {"YUYV", Encoding::Yuyv},
                   {"MJPG", Encoding::Mjpeg}};

    std::printf("%dx%d, %d frames per format\n\n", g_width, g_height, frames);
    std::printf("| Format | Size | render median (ms) | render worst (ms) | getFrame median (ms) | getFrame worst (ms) "
                "| share of the shortest period | renderer's first frame (ms) | startStreaming (ms) "
                "| frame after a setting change (ms) |\n");
    std::printf("|---|---|---|---|---|---|---|---|---|---|\n");
    for (const auto& format : formats) {
        double firstMs = 0, changeMs = 0;
        const Result render = benchRenderer(format.encoding, frames, firstMs, changeMs);
        int index = -1;
        for (int i = 0; i < camera->getFormatCount(); ++i) {
            if (std::strcmp(camera->getFormat(i)->getFourCC(), format.fourcc) == 0)
                index = i;
        }
        const double periodMs = index < 0 ? 0 : selectSize(*camera, index);
        if (periodMs <= 0) {
            std::fprintf(stderr, "the camera offers no %s at %dx%d\n", format.fourcc, g_width, g_height);
            return 1;
        }
        double startMs = 0;
        const Result through = benchCamera(*camera, std::min(frames, 60), startMs);
        std::printf("| %s | %dx%d | %.2f | %.2f | %.2f | %.2f | %.0f %% of %.1f ms | %.1f | %.1f | %.1f |\n",
                    format.fourcc, g_width, g_height, render.median, render.worst, through.median, through.worst, 100.0 * through.median / periodMs,
                    periodMs, firstMs, startMs, changeMs);
    }
    return 0;
}
