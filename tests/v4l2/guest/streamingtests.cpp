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
    if (!CHECK_MSG(selectSmallest(camera, index), what) || !start(camera))
        return rgb24;
    IResolution* size = format->getResolution(camera.getCurrentResolutionIndex());
    const long long bytes = size->getBytesPerLine() * static_cast<long long>(size->getHeight());
    if (rgb24)
        CHECK_EQ(size->getBytesPerLine(), 3 * size->getWidth());
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

} // namespace

// Run where libv4l2 offers converted formats beside the native ones: both kinds stream.
GROUP(formats)
{
    auto camera = openFirstCamera();
    if (!CHECK(camera))
        return;
    RawDevice raw;
    bool rgb24 = false, emulated = false;
    for (int i = 0; i < camera->getFormatCount(); ++i) {
        emulated |= camera->getFormat(i)->isEmulated();
        rgb24 |= streamOneFormat(*camera, i, camera->getFormat(i)->isEmulated() ? nullptr : &raw);
    }
    CHECK(rgb24 && emulated);
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

    // The application's ticks: frames keep coming, time stamps rise.
    long long firstStamp = 0, lastStamp = 0;
    const int pictures = 8;
    for (int picture = 0; picture < pictures; ++picture) {
        IFrame* frame = waitForFrame(*camera);
        if (!CHECK(frame))
            break;
        const long long stamp = frame->getTimeStamp().seconds * 1000000 + frame->getTimeStamp().microseconds;
        CHECK(stamp > lastStamp);
        if (picture == 0)
            firstStamp = stamp;
        lastStamp = stamp;
        camera->releaseFrame(frame);
    }
    stop(*camera);

    // Of three buffers filled unasked, the newest is handed out, then nothing older.
    // The wait is four of the periods just seen: under an emulated CPU on a
    // busy host the driver's frames come far slower than it announces.
    const long long periodMs = (lastStamp - firstStamp) / (pictures - 1) / 1000;
    start(*camera, 3);
    sleepMs(int(std::clamp(4 * periodMs, 1500LL, 8000LL)));
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
        CHECK(copy == std::vector<unsigned char>(held->getData(), held->getData() + held->getSize()));
        camera->releaseFrame(held);
        camera->releaseFrame(held);
    }
    camera->releaseFrame(nullptr);

    // At the slowest rate, getFrame right after a picture does not wait for the next one.
    CHECK(selectSmallest(*camera, 0, false));
    start(*camera);
    if (IFrame* first = waitForFrame(*camera)) {
        camera->releaseFrame(first);
        IFrame* next = camera->getFrame();
        CHECK(next && next->isEmpty());
        camera->releaseFrame(next);
    }

    // Deleted while streaming, with a frame still out.
    CHECK(waitForFrame(*camera));
}

} // namespace Guest
