// Hot-plug, by unbinding and binding vivid's platform device (no udevd: the
// kernel's own events), and a camera unplugged while it streams.

#include "guest.h"

#include <algorithm>
#include <atomic>

namespace Guest {

namespace {

struct CountingClient : IContinuousCameraMonitor::IClient
{
    void onCameraEvent(ICameraEvent* event) override
    {
        ++counts[std::clamp(event->getType(), 0, 3)];
        delete event;
    }

    bool waitFor(int kind)
    {
        for (int i = 0; i < 500 && counts[kind] == 0; ++i)
            sleepMs(10);
        return counts[kind] > 0;
    }

    std::atomic<int> counts[4] = {}; // by kind; 0 and 3 are no kinds
};

bool bindVivid(const char* action)
{
    FILE* file = std::fopen((std::string("/sys/bus/platform/drivers/vivid/") + action).c_str(), "w");
    if (!file)
        return false;
    const bool written = std::fputs("vivid.0", file) >= 0;
    return std::fclose(file) == 0 && written;
}

} // namespace

GROUP(hotplug)
{
    CountingClient client;
    std::unique_ptr<IContinuousCameraMonitor> monitor(
        ICameraFactory::getUniqueInstance()->createContinuousCameraMonitor());
    monitor->start(&client);
    // The watcher notes the nodes present when it starts, on its own thread.
    sleepMs(300);
    auto camera = openFirstCamera();
    if (!CHECK(camera) || !CHECK(selectSmallest(*camera, 0)) || !start(*camera))
        return;
    IFrame* held = waitForFrame(*camera);
    CHECK(held);
    auto* brightness = findControl<ICameraControlNumeric<int>>(*camera, "Brightness");

    // Unplugged while streaming with a frame out: then empty frames, failing
    // calls and refused writes until the camera is deleted.
    CHECK(bindVivid("unbind"));
    CHECK_MSG(client.waitFor(ICameraEvent::CameraRemoved), "no removal reported");
    CHECK(!openFirstCamera());
    IFrame* empty = camera->getFrame();
    CHECK(empty && empty->isEmpty());
    camera->releaseFrame(empty);
    camera->releaseFrame(held);
    CHECK(camera->startStreaming() != 0 && camera->allocateBuffers(2) != 0);
    CHECK(!camera->setFormat(0, 0, 0));
    if (CHECK(brightness)) {
        brightness->refresh();
        CHECK(refusal([&] { brightness->setValue(1); }) != "");
    }
    camera->reset();
    CHECK(camera->stopStreaming() != 0 && camera->releaseBuffers() != 0);
    camera.reset();

    // Plugged back in (the metadata node is no camera): it streams again.
    CHECK(bindVivid("bind"));
    CHECK_MSG(client.waitFor(ICameraEvent::CameraAdded), "no arrival reported");
    camera = openFirstCamera();
    if (CHECK(camera) && start(*camera)) {
        CHECK(waitForFrame(*camera));
        stop(*camera);
    }
    monitor->stop();
    CHECK(client.counts[0] + client.counts[3] == 0 && client.counts[ICameraEvent::CameraAdded] == 1
          && client.counts[ICameraEvent::CameraRemoved] == 1);
}

} // namespace Guest
