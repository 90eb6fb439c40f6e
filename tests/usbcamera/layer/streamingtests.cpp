// Frames through uvcvideo: MJPG byte for byte as the device sent it, YUYV
// pixels as sent, and the firmware's automatic work that needs frames.

#include "emulateddevice.h"
#include "guest.h"

#include <imageacquisition/kelvane.h>

#include <set>

namespace Guest {

namespace {

namespace Xu = ImageAcquisition::KelvaneExtensionUnit;

int formatIndex(ICamera& camera, const std::string& fourcc)
{
    for (int i = 0; i < camera.getFormatCount(); ++i) {
        if (fourcc == camera.getFormat(i)->getFourCC() && !camera.getFormat(i)->isEmulated())
            return i;
    }
    return -1;
}

// Streams count frames of the format at size index 0 or 1 and interval
// index 0 or 1, each of which must be one the device sent.
void checkFramesAsSent(IStreamingCamera& camera, const EmulatedDevice& device, const std::string& fourcc, int size,
                       int interval, int count)
{
    const int format = formatIndex(camera, fourcc);
    if (!CHECK_MSG(format >= 0, fourcc) || !CHECK(camera.setFormat(format, size, interval)) || !start(camera, 4))
        return;
    const std::string suffix = fourcc == "MJPG" ? ".mjpg" : ".yuyv";
    std::set<std::string> sent;
    for (int i = 0; i < count; ++i) {
        // The buffers filled while the last frame was compared hold frames
        // the device may no longer keep; the next one is fresh.
        for (bool stale = true; stale;) {
            IFrame* frame = camera.getFrame();
            stale = !frame->isEmpty();
            camera.releaseFrame(frame);
        }
        IFrame* frame = waitForFrame(camera);
        if (!CHECK_MSG(frame, fourcc + ": no frame"))
            break;
        const std::string name = device.sentFrame(frame->getData(), std::size_t(frame->getSize()), suffix);
        CHECK_MSG(!name.empty(), fourcc + ": frame " + std::to_string(frame->getFrameNumber()) + " of "
                                     + std::to_string(frame->getSize()) + " bytes is none the device sent");
        sent.insert(name);
        camera.releaseFrame(frame);
    }
    stop(camera);
    // Each a frame of its own, not one picture over and over.
    CHECK_EQ(sent.size(), std::size_t(count));
}

} // namespace

GROUP(frames)
{
    EmulatedDevice device;
    auto camera = openFirstCamera();
    if (!CHECK(camera))
        return;
    checkFramesAsSent(*camera, device, "MJPG", 0, 0, 10);
    checkFramesAsSent(*camera, device, "YUYV", 1, 1, 5);
    checkFramesAsSent(*camera, device, "YUYV", 0, 0, 3);
    checkFramesAsSent(*camera, device, "MJPG", 1, 1, 3);
}

// With frames, a one-shot ends by itself, the automatic exposure follows
// the gain, and the sensor warms up.
GROUP(firmware)
{
    auto camera = openFirstCamera();
    using Int = ICameraControlNumeric<int>;
    auto* trigger = camera ? findControl<Int>(*camera, "Trigger Auto Controls") : nullptr;
    auto* errors = camera ? findControl<Int>(*camera, "Error Status") : nullptr;
    auto* temperature = camera ? findControl<Int>(*camera, "Temperature (C)") : nullptr;
    auto* gain = camera ? findControl<Int>(*camera, "Gain") : nullptr;
    auto* exposureMode = camera ? findControl<ICameraControlStringMenu>(*camera, "Auto Exposure") : nullptr;
    auto* exposure = camera ? findControl<Int>(*camera, "Exposure Time, Absolute") : nullptr;
    if (!CHECK(trigger && errors && temperature && gain && exposureMode && exposure))
        return;
    const int mjpg = formatIndex(*camera, "MJPG");
    if (!CHECK(camera->setFormat(mjpg, 0, 0)) || !start(*camera, 4))
        return;
    temperature->refresh();
    const int coolest = temperature->getValue();
    gain->setValue(50);
    exposureMode->setIndex(1);
    trigger->setValue(Xu::AutoExposure | Xu::AutoWhiteBalance);
    // Frames taken while the firmware works on them.
    for (int i = 0; i < 20; ++i) {
        if (IFrame* frame = waitForFrame(*camera))
            camera->releaseFrame(frame);
    }
    trigger->refresh();
    CHECK_EQ(trigger->getValue(), 0);
    errors->refresh();
    CHECK_EQ(errors->getValue() & Xu::ErrorTriggerTimeout, 0);
    // Nominal 10 ms over a gain of three times.
    exposure->refresh();
    CHECK_EQ(exposure->getValue(), 33);
    temperature->refresh();
    CHECK_MSG(temperature->getValue() > coolest,
              std::to_string(coolest) + " -> " + std::to_string(temperature->getValue()));
    stop(*camera);
    exposureMode->setIndex(0);
    gain->setValue(0);
}

} // namespace Guest
