#pragma once

// The guest program's checks and shared helpers. It runs in a minimal
// virtual machine without Qt; every failed check prints one line.

#include <imageacquisition/imageacquisition.h>

#include <assertfailureexception.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <type_traits>

namespace Guest {

using namespace ImageAcquisition;

extern int failures;

inline bool check(bool passed, const char* what, const std::string& detail, int line)
{
    if (!passed && ++failures)
        std::printf("CHECK FAILED line %d: %s %s\n", line, what, detail.c_str());
    return passed;
}

template <typename A, typename B>
bool checkEqual(const A& actual, const B& expected, const char* what, int line)
{
    std::ostringstream detail;
    detail << "(got '" << actual << "', expected '" << expected << "')";
    if constexpr (std::is_integral_v<A> && std::is_integral_v<B>)
        return check(static_cast<long long>(actual) == static_cast<long long>(expected), what,
                     detail.str(), line);
    else
        return check(std::string(actual) == std::string(expected), what, detail.str(), line);
}

#define CHECK_MSG(cond, detail) ::Guest::check(static_cast<bool>(cond), #cond, (detail), __LINE__)
#define CHECK(cond) CHECK_MSG(cond, "")
#define CHECK_EQ(actual, expected)                                                                 \
    ::Guest::checkEqual((actual), (expected), #actual " == " #expected, __LINE__)

void testEnumeration();
void testMultiplanar();
// Streams a picture of every format, or of every emulated one.
void testFormats(bool onlyEmulated);
void testStreaming();
void testControls();
void testHotplug();

inline long long nowUs()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

inline void sleepMs(int milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

inline std::unique_ptr<IStreamingCamera> openFirstCamera()
{
    std::unique_ptr<IDeviceList> list(ICameraFactory::getUniqueInstance()->getDeviceList());
    if (list->getDeviceCount() < 1)
        return nullptr;
    return std::unique_ptr<IStreamingCamera>(
        ICameraFactory::getUniqueInstance()->createCamera(list->getDevice(0)));
}

// The format's smallest size (little work for the emulated CPU) at its
// fastest or slowest rate: vivid lists the sizes from the smallest and the
// intervals from the longest.
inline bool selectSmallest(ICamera& camera, int format, bool fastest = true)
{
    const int intervals = camera.getFormat(format)->getResolution(0)->getFrameIntervalCount();
    return camera.setFormat(format, 0, fastest ? intervals - 1 : 0);
}

// allocateBuffers and startStreaming, and their counterparts, checked.
inline bool start(IStreamingCamera& camera, int buffers = 2)
{
    return CHECK_EQ(camera.allocateBuffers(buffers), 0) && CHECK_EQ(camera.startStreaming(), 0);
}

inline void stop(IStreamingCamera& camera)
{
    CHECK_EQ(camera.stopStreaming(), 0);
    CHECK_EQ(camera.releaseBuffers(), 0);
}

// Polls getFrame, giving back the empty frames; null without a picture in time.
inline IFrame* waitForFrame(IStreamingCamera& camera)
{
    for (const long long deadline = nowUs() + 10000000; nowUs() < deadline; sleepMs(5)) {
        IFrame* frame = camera.getFrame();
        if (!frame || !frame->isEmpty())
            return frame;
        camera.releaseFrame(frame);
    }
    return nullptr;
}

// The message of the layer's exception, or "" when the call went through.
template <typename Call>
std::string refusal(Call call)
{
    try {
        call();
    } catch (const AssertFailureException& exception) {
        return exception.what();
    }
    return "";
}

template <typename Control>
Control* findControl(ICamera& camera, const std::string& name)
{
    for (int i = 0; i < camera.getControlCount(); ++i) {
        if (name == camera.getControl(i)->getName())
            return dynamic_cast<Control*>(camera.getControl(i));
    }
    return nullptr;
}

} // namespace Guest
