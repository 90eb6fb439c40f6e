// Frames of every format, the newest-frame hand-out, the life of frames.

#include "guest.h"
#include "rawdevice.h"

#include <algorithm>
#include <vector>

namespace Guest {

namespace {

// A picture's size against the stride and, if native, the driver's size;
// true for the RGB formats the application shows.
bool streamOneFormat(IStreamingCamera& camera, int index, const RawDevice* raw)
{
    IPixelFormat* format = camera.getFormat(index);
    const std::string fourcc = format->getFourCC();
    const std::string what = fourcc + (raw ? "" : " (emulated)");
    const bool rgb24 = fourcc == "RGB3" || fourcc == "BGR3";
    if (!CHECK_MSG(selectSmallest(camera, index), what))
        return rgb24;
    IResolution* size = format->getResolution(camera.getCurrentResolutionIndex());
    const long long stride = size->getBytesPerLine();
    const long long bytes = stride * size->getHeight();
    if (rgb24)
        CHECK_EQ(stride, 3 * size->getWidth());
    if (!start(camera))
        return rgb24;
    IFrame* frame = waitForFrame(camera);
    if (CHECK_MSG(frame, "no frame for " + what)) {
        if (!format->isCompressed())
            CHECK_MSG(bytes > 0 && frame->getSize() >= bytes, what);
        if (rgb24)
            CHECK_EQ(frame->getSize(), bytes);
        if (raw)
            CHECK_EQ(frame->getSize(), raw->format().sizeimage);
        camera.releaseFrame(frame);
    }
    stop(camera);
    return rgb24;
}

void streamFormats(bool onlyEmulated)
{
    auto camera = openFirstCamera();
    if (!CHECK(camera))
        return;
    RawDevice raw;
    bool rgb24 = false;
    for (int i = 0; i < camera->getFormatCount(); ++i) {
        IPixelFormat* format = camera->getFormat(i);
        if (onlyEmulated && !format->isEmulated())
            continue;
        rgb24 |= streamOneFormat(*camera, i, format->isEmulated() ? nullptr : &raw);
    }
    CHECK(rgb24);
}

} // namespace

GROUP(formats)
{
    streamFormats(false);
}

GROUP(emulated)
{
    streamFormats(true);
}

GROUP(streaming)
{
    auto camera = openFirstCamera();
    if (!CHECK(camera) || !CHECK(selectSmallest(*camera, 0)))
        return;

    // No frames nor start without buffers; with buffers, the format is fixed.
    IFrame* idle = camera->getFrame();
    CHECK(idle && idle->isEmpty());
    camera->releaseFrame(idle);
    CHECK(camera->startStreaming() != 0 && camera->allocateBuffers(0) != 0);
    CHECK_EQ(camera->allocateBuffers(2), 0);
    CHECK(camera->allocateBuffers(2) != 0 && !selectSmallest(*camera, 0));
    CHECK_EQ(camera->startStreaming(), 0);
    CHECK(!selectSmallest(*camera, 0));

    // The application's ticks: frames keep coming, time stamps rise.
    unsigned long long lastNumber = 0;
    long long lastStamp = 0;
    for (int pictures = 0; pictures < 8; ++pictures) {
        IFrame* frame = waitForFrame(*camera);
        if (!CHECK(frame))
            break;
        const IFrame::TimeStamp time = frame->getTimeStamp();
        const long long stamp = time.seconds * 1000000 + time.microseconds;
        // vivid may give two frames at the start one number.
        CHECK(stamp > lastStamp && frame->getFrameNumber() >= lastNumber);
        lastNumber = frame->getFrameNumber();
        lastStamp = stamp;
        camera->releaseFrame(frame);
    }
    stop(*camera);

    // Of three buffers filled unasked, the newest is handed out, then nothing older.
    start(*camera, 3);
    sleepMs(1500);
    IFrame* newest = camera->getFrame();
    if (CHECK(newest && !newest->isEmpty())) {
        CHECK_MSG(newest->getFrameNumber() >= 2, std::to_string(newest->getFrameNumber()));
        IFrame* after = camera->getFrame();
        CHECK(after && (after->isEmpty() || after->getFrameNumber() > newest->getFrameNumber()));
        camera->releaseFrame(after);
    }
    camera->releaseFrame(newest);
    stop(*camera);

    // A frame held across stop and release keeps its bytes; late returns are harmless.
    start(*camera);
    IFrame* held = waitForFrame(*camera);
    std::vector<unsigned char> copy;
    if (CHECK(held))
        copy.assign(held->getData(), held->getData() + held->getSize());
    stop(*camera);
    if (held) {
        CHECK(std::equal(copy.begin(), copy.end(), held->getData(),
                         held->getData() + held->getSize()));
        camera->releaseFrame(held);
        camera->releaseFrame(held);
    }
    camera->releaseFrame(nullptr);

    // At the slowest rate, getFrame right after a picture returns empty at once.
    CHECK(selectSmallest(*camera, 0, false));
    IResolution* size = camera->getFormat(0)->getResolution(camera->getCurrentResolutionIndex());
    IFrameInterval* period = size->getFrameInterval(camera->getCurrentFrameIntervalIndex());
    CHECK_MSG(period->getNumerator() * 4 >= period->getDenominator(), "no slow rate to test with");
    start(*camera);
    if (IFrame* first = waitForFrame(*camera)) {
        camera->releaseFrame(first);
        const long long before = nowUs();
        IFrame* next = camera->getFrame();
        CHECK_MSG(nowUs() - before < 100000, std::to_string(nowUs() - before) + " us");
        CHECK(next && next->isEmpty());
        camera->releaseFrame(next);
    }

    // Deleted while streaming, with a frame still out.
    CHECK(waitForFrame(*camera));
    camera.reset();
}

} // namespace Guest
