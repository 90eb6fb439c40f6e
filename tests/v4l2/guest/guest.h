#pragma once

// Checks and helpers of the guest program, which runs without Qt in the VM.

#include <imageacquisition/imageacquisition.h>

#include <assertfailureexception.h>

#include <chrono>
#include <cstdio>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <thread>

namespace Guest {

using namespace ImageAcquisition;

extern int failures;

inline bool check(bool passed, const char* what, const std::string& detail, const char* file, int line)
{
    if (!passed && ++failures)
        std::printf("CHECK FAILED %s:%d: %s %s\n", file, line, what, detail.c_str());
    return passed;
}

// Compares printed forms: numbers of any type and texts of any kind as they read.
template <typename A, typename B>
bool checkEqual(const A& actual, const B& expected, const char* what, const char* file, int line)
{
    std::ostringstream got, wanted;
    got << actual;
    wanted << expected;
    return check(got.str() == wanted.str(), what, "(got '" + got.str() + "', expected '" + wanted.str() + "')",
                 file, line);
}

#define CHECK_MSG(cond, detail) ::Guest::check(static_cast<bool>(cond), #cond, (detail), __FILE__, __LINE__)
#define CHECK(cond) CHECK_MSG(cond, "")
#define CHECK_EQ(actual, expected) ::Guest::checkEqual((actual), (expected), #actual " == " #expected, __FILE__, __LINE__)

// The groups of tests, run by the command line's words.
inline std::map<std::string, void (*)()>& groups()
{
    static std::map<std::string, void (*)()> all;
    return all;
}

#define GROUP(name)                                                                                                    \
    void name();                                                                                                       \
    const bool name##Known = (::Guest::groups()[#name] = name, true);                                                  \
    void name()

inline void sleepMs(int milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

inline std::unique_ptr<IStreamingCamera> openFirstCamera()
{
    std::unique_ptr<IDeviceList> list(ICameraFactory::getUniqueInstance()->getDeviceList());
    if (list->getDeviceCount() < 1)
        return nullptr;
    return std::unique_ptr<IStreamingCamera>(ICameraFactory::getUniqueInstance()->createCamera(list->getDevice(0)));
}

// The smallest size, least work for the emulated CPU, at the fastest or slowest
// rate: vivid lists sizes from the smallest and intervals from the longest.
inline bool selectSmallest(ICamera& camera, int format, bool fastest = true)
{
    const int intervals = camera.getFormat(format)->getResolution(0)->getFrameIntervalCount();
    return camera.setFormat(format, 0, fastest ? intervals - 1 : 0);
}

inline bool start(IStreamingCamera& camera, int buffers = 2)
{
    return CHECK_EQ(camera.allocateBuffers(buffers), 0) && CHECK_EQ(camera.startStreaming(), 0);
}

inline void stop(IStreamingCamera& camera)
{
    CHECK_EQ(camera.stopStreaming(), 0);
    CHECK_EQ(camera.releaseBuffers(), 0);
}

// Polls getFrame for up to ten seconds, giving back the empty frames; null without a picture.
inline IFrame* waitForFrame(IStreamingCamera& camera)
{
    for (int tries = 0; tries < 2000; ++tries, sleepMs(5)) {
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
