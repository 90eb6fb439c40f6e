// A USB disconnect while streaming, and the camera plugged back in.

#include "emulateddevice.h"
#include "guest.h"

#include <atomic>
#include <cerrno>

namespace Guest {

namespace {

struct EventCounter : IContinuousCameraMonitor::IClient
{
    void onCameraEvent(ICameraEvent* event) override
    {
        const int type = event->getType();
        ++(type == ICameraEvent::CameraAdded ? added : type == ICameraEvent::CameraRemoved ? removed : others);
        delete event;
    }

    static bool waitFor(const std::atomic<int>& count)
    {
        for (int i = 0; i < 500 && count == 0; ++i)
            sleepMs(10);
        return count > 0;
    }

    std::atomic<int> added{0}, removed{0}, others{0};
};

} // namespace

GROUP(hotplug)
{
    EmulatedDevice device;
    EventCounter events;
    std::unique_ptr<IContinuousCameraMonitor> monitor(
        ICameraFactory::getUniqueInstance()->createContinuousCameraMonitor());
    monitor->start(&events);
    // The watcher notes the nodes present when it starts, on its own thread.
    sleepMs(300);
    auto camera = openFirstCamera();
    if (!CHECK(camera) || !CHECK(camera->setFormat(0, 0, 0)) || !start(*camera))
        return;
    IFrame* held = waitForFrame(*camera);
    CHECK(held);
    auto* brightness = findControl<ICameraControlNumeric<int>>(*camera, "Brightness");

    CHECK(device.unplug());
    CHECK_MSG(EventCounter::waitFor(events.removed), "no removal reported");
    CHECK(!openFirstCamera());
    IFrame* empty = camera->getFrame();
    CHECK(empty && empty->isEmpty());
    camera->releaseFrame(empty);
    camera->releaseFrame(held);
    CHECK_EQ(camera->startStreaming(), -ENODEV);
    CHECK_EQ(camera->allocateBuffers(2), -ENODEV);
    CHECK_EQ(camera->waitForFrame(100), -ENODEV);
    CHECK(!camera->setFormat(0, 0, 0));
    if (CHECK(brightness))
        CHECK(refusal([&] { brightness->setValue(1); }) != "");
    CHECK_EQ(camera->stopStreaming(), -ENODEV);
    CHECK_EQ(camera->releaseBuffers(), -ENODEV);
    camera.reset();

    // Back again: the same camera by its serial number, streaming, with the
    // maker's controls mapped afresh (a replug forgets the mappings).
    CHECK(device.plug());
    CHECK_MSG(EventCounter::waitFor(events.added), "no arrival reported");
    std::unique_ptr<IDeviceList> list(ICameraFactory::getUniqueInstance()->getDeviceList());
    if (CHECK_EQ(list->getDeviceCount(), 1))
        CHECK_EQ(list->getDevice(0)->getSerial(), "KVE-000042");
    camera = openFirstCamera();
    if (CHECK(camera) && start(*camera)) {
        CHECK(waitForFrame(*camera));
        stop(*camera);
    }
    if (camera)
        CHECK(findControl<ICameraControlNumeric<int>>(*camera, "Temperature (C)"));
    monitor->stop();
    CHECK_EQ(events.others, 0);
    CHECK_EQ(events.removed, 1);
    CHECK_EQ(events.added, 1);
}

} // namespace Guest
