// Hot-plug reports, and a camera whose device is unplugged while it streams.
// vivid is unplugged and plugged back by unbinding and binding its platform
// device; the guest runs no udevd, so only the kernel's events exist.

#include "check.h"
#include "sections.h"

#include <assertfailureexception.h>

#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <vector>

using namespace ImageAcquisition;

namespace Guest {

namespace {

class RecordingClient : public IContinuousCameraMonitor::IClient
{
public:
    void onCameraEvent(ICameraEvent* event) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_kinds.push_back(event->getType());
        delete event;
        m_changed.notify_all();
    }

    // Waits for an event of that kind; true when it came in time.
    bool waitFor(int kind, int timeoutMs)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] {
            for (int seen : m_kinds) {
                if (seen == kind)
                    return true;
            }
            return false;
        });
    }

    std::vector<int> kinds()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_kinds;
    }

    void clear()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_kinds.clear();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<int> m_kinds;
};

bool writeSysfs(const char* path, const char* text)
{
    FILE* file = std::fopen(path, "w");
    if (!file)
        return false;
    bool written = std::fputs(text, file) >= 0;
    return std::fclose(file) == 0 && written;
}

int deviceCount()
{
    std::unique_ptr<IDeviceList> list(ICameraFactory::getUniqueInstance()->getDeviceList());
    return list->getDeviceCount();
}

} // namespace

void testHotplug()
{
    RecordingClient client;
    std::unique_ptr<IContinuousCameraMonitor> monitor(
        ICameraFactory::getUniqueInstance()->createContinuousCameraMonitor());
    monitor->start(&client);
    // The watcher notes the nodes present when it starts, on its own thread.
    sleepMilliseconds(300);

    auto camera = openFirstCamera();
    CHECK(camera);
    if (!camera)
        return;
    IPixelFormat* format = camera->getFormat(camera->getCurrentFormatIndex());
    const int sizeIndex = smallestResolution(*format);
    CHECK(camera->setFormat(camera->getCurrentFormatIndex(), sizeIndex,
                            fastestInterval(*format->getResolution(sizeIndex))));
    CHECK_EQ(camera->allocateBuffers(2), 0);
    CHECK_EQ(camera->startStreaming(), 0);
    IFrame* held = waitForFrame(*camera, 10000);
    CHECK(held);
    ICameraControl* brightness = findControl(*camera, "Brightness");
    CHECK(brightness);

    // Unplugged while streaming, with a frame out.
    CHECK(writeSysfs("/sys/bus/platform/drivers/vivid/unbind", "vivid.0"));
    CHECK_MSG(client.waitFor(ICameraEvent::CameraRemoved, 5000), "no removal reported");
    CHECK_EQ(deviceCount(), 0);

    // From now on: empty frames without waiting, failing streaming calls,
    // refused writes, and refreshes that leave the last state.
    const long long start = monotonicMicroseconds();
    for (int i = 0; i < 50; ++i) {
        IFrame* frame = camera->getFrame();
        CHECK(frame && frame->isEmpty());
        camera->releaseFrame(frame);
    }
    CHECK_MSG(monotonicMicroseconds() - start < 1000000, "getFrame waited on a gone device");
    if (held)
        camera->releaseFrame(held);
    CHECK(camera->startStreaming() != 0);
    CHECK(camera->allocateBuffers(2) != 0);
    CHECK(!camera->setFormat(0, 0, 0));
    if (brightness) {
        brightness->refresh();
        auto* numeric = dynamic_cast<ICameraControlNumeric<int>*>(brightness);
        bool threw = false;
        try {
            numeric->setValue(1);
        } catch (const AssertFailureException&) {
            threw = true;
        }
        CHECK(threw);
    }
    camera->reset();
    CHECK(camera->stopStreaming() != 0);
    CHECK(camera->releaseBuffers() != 0);
    camera.reset();

    // Plugged back in: reported, listed, and it streams again.
    client.clear();
    CHECK(writeSysfs("/sys/bus/platform/drivers/vivid/bind", "vivid.0"));
    CHECK_MSG(client.waitFor(ICameraEvent::CameraAdded, 5000), "no arrival reported");
    CHECK_EQ(deviceCount(), 1);
    camera = openFirstCamera();
    CHECK(camera);
    if (camera) {
        CHECK_EQ(camera->allocateBuffers(2), 0);
        CHECK_EQ(camera->startStreaming(), 0);
        IFrame* frame = waitForFrame(*camera, 10000);
        CHECK(frame);
        if (frame)
            camera->releaseFrame(frame);
        CHECK_EQ(camera->stopStreaming(), 0);
        CHECK_EQ(camera->releaseBuffers(), 0);
    }
    for (int kind : client.kinds())
        CHECK_MSG(kind == ICameraEvent::CameraAdded, "unexpected kind " + std::to_string(kind));

    // The watcher's thread stops promptly.
    const long long stopStart = monotonicMicroseconds();
    monitor->stop();
    CHECK_MSG(monotonicMicroseconds() - stopStart < 500000, "stop took too long");
    monitor.reset();
}

} // namespace Guest
