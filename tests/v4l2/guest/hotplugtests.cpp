// Hot-plug reports, and a camera unplugged while it streams. vivid is
// unplugged and plugged back by unbinding and binding its platform device;
// the guest runs no udevd, so only the kernel's events exist.

#include "guest.h"

#include <atomic>

using namespace ImageAcquisition;

namespace Guest {

namespace {

class CountingClient : public IContinuousCameraMonitor::IClient
{
public:
    void onCameraEvent(ICameraEvent* event) override
    {
        const int kind = event->getType();
        ++counts[kind == ICameraEvent::CameraAdded || kind == ICameraEvent::CameraRemoved ? kind
                                                                                          : 0];
        delete event;
    }

    bool waitFor(int kind)
    {
        for (int i = 0; i < 500 && counts[kind] == 0; ++i)
            sleepMs(10);
        return counts[kind] > 0;
    }

    std::atomic<int> counts[3] = {}; // by kind, other kinds at 0
};

bool bindVivid(const char* action)
{
    FILE* file =
        std::fopen((std::string("/sys/bus/platform/drivers/vivid/") + action).c_str(), "w");
    return file && std::fputs("vivid.0", file) >= 0 && std::fclose(file) == 0;
}

int deviceCount()
{
    return std::unique_ptr<IDeviceList>(ICameraFactory::getUniqueInstance()->getDeviceList())
        ->getDeviceCount();
}

} // namespace

void testHotplug()
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

    // Unplugged while streaming, with a frame out: reported, gone from the
    // list; then empty frames at once, failing streaming calls and refused
    // writes until the camera is deleted.
    CHECK(bindVivid("unbind"));
    CHECK_MSG(client.waitFor(ICameraEvent::CameraRemoved), "no removal reported");
    CHECK_EQ(deviceCount(), 0);
    const long long before = nowUs();
    IFrame* empty = camera->getFrame();
    CHECK(empty && empty->isEmpty() && nowUs() - before < 100000);
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

    // Plugged back in: reported (the metadata node is no camera), listed,
    // and it streams again.
    CHECK(bindVivid("bind"));
    CHECK_MSG(client.waitFor(ICameraEvent::CameraAdded), "no arrival reported");
    CHECK_EQ(deviceCount(), 1);
    camera = openFirstCamera();
    if (CHECK(camera) && start(*camera)) {
        CHECK(waitForFrame(*camera));
        stop(*camera);
    }
    // The watcher's thread stops promptly.
    const long long stopping = nowUs();
    monitor->stop();
    CHECK_MSG(nowUs() - stopping < 500000, "stop took too long");
    CHECK(client.counts[0] == 0 && client.counts[ICameraEvent::CameraAdded] == 1
          && client.counts[ICameraEvent::CameraRemoved] == 1);
}

} // namespace Guest
