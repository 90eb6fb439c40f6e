// Frames of every format, the newest-frame hand-out, and the life of frames
// and buffers.

#include "guest.h"
#include "rawdevice.h"

#include <algorithm>
#include <vector>

using namespace ImageAcquisition;

namespace Guest {

namespace {

bool isRgb24(const std::string& fourcc)
{
    return fourcc == "RGB3" || fourcc == "BGR3";
}

// One picture at the format's smallest size, its size checked against the
// stride; raw, for a native format, is the driver's own view.
void streamOneFormat(IStreamingCamera& camera, int index, const RawDevice* raw)
{
    IPixelFormat* format = camera.getFormat(index);
    const std::string fourcc = format->getFourCC();
    const std::string what = fourcc + (raw ? "" : " (emulated)");
    if (!CHECK_MSG(selectSmallest(camera, index), what))
        return;
    IResolution* size = format->getResolution(camera.getCurrentResolutionIndex());
    const long long stride = size->getBytesPerLine();
    const long long bytes = stride * size->getHeight();
    if (isRgb24(fourcc))
        CHECK_EQ(stride, 3 * size->getWidth());
    if (raw) {
        CHECK_EQ(fourccText(raw->format().pixelformat), fourcc);
        CHECK_EQ(stride, raw->format().bytesperline);
    }
    if (!start(camera))
        return;
    IFrame* frame = waitForFrame(camera);
    if (CHECK_MSG(frame, "no frame for " + what)) {
        if (!format->isCompressed())
            CHECK_MSG(bytes > 0 && frame->getSize() >= bytes, what);
        if (isRgb24(fourcc))
            CHECK_EQ(frame->getSize(), bytes);
        if (raw)
            CHECK_EQ(frame->getSize(), raw->format().sizeimage);
        camera.releaseFrame(frame);
    }
    stop(camera);
}

} // namespace

void testFormats(bool onlyEmulated)
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
        rgb24 = rgb24 || isRgb24(format->getFourCC());
        streamOneFormat(*camera, i, format->isEmulated() ? nullptr : &raw);
    }
    CHECK(rgb24);
}

void testStreaming()
{
    auto camera = openFirstCamera();
    if (!CHECK(camera))
        return;
    int rgb = 0;
    while (rgb < camera->getFormatCount()
           && camera->getFormat(rgb)->getFourCC() != std::string("RGB3"))
        ++rgb;
    if (!CHECK(rgb < camera->getFormatCount()) || !CHECK(selectSmallest(*camera, rgb)))
        return;

    // Before any buffer: empty frames and refused starts; with buffers, the
    // format is fixed.
    IFrame* idle = camera->getFrame();
    CHECK(idle && idle->isEmpty());
    camera->releaseFrame(idle);
    CHECK(camera->startStreaming() != 0 && camera->allocateBuffers(0) != 0);
    CHECK_EQ(camera->allocateBuffers(2), 0);
    CHECK(camera->allocateBuffers(2) != 0 && !selectSmallest(*camera, rgb));
    CHECK_EQ(camera->startStreaming(), 0);
    CHECK(!selectSmallest(*camera, rgb));

    // The application's ticks: one frame a tick, given back at once.
    int pictures = 0;
    unsigned long long lastNumber = 0;
    long long lastStamp = 0;
    for (const long long end = nowUs() + 10000000; pictures < 8 && nowUs() < end; sleepMs(10)) {
        IFrame* frame = camera->getFrame();
        if (!CHECK(frame))
            break;
        if (!frame->isEmpty()) {
            const IFrame::TimeStamp time = frame->getTimeStamp();
            const long long stamp = time.seconds * 1000000 + time.microseconds;
            CHECK(stamp > lastStamp && (pictures == 0 || frame->getFrameNumber() > lastNumber));
            lastNumber = frame->getFrameNumber();
            lastStamp = stamp;
            ++pictures;
        }
        camera->releaseFrame(frame);
    }
    CHECK_EQ(pictures, 8);
    stop(*camera);

    // Newest first: of three buffers filled while nobody asked, the last
    // filled is handed out, and nothing older comes after it.
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

    // A frame held across stop and release keeps its bytes; giving it back
    // then, twice, or giving back nothing is harmless.
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

    // getFrame does not wait for the next picture: at the slowest rate, the
    // call right after a picture returns at once with an empty frame.
    CHECK(selectSmallest(*camera, rgb, false));
    IResolution* size = camera->getFormat(rgb)->getResolution(camera->getCurrentResolutionIndex());
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
