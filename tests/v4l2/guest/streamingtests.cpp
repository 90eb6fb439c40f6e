// Frames of every format, the newest-frame hand-out, and the life of frames
// and buffers, through the calls the application makes.

#include "check.h"
#include "rawdevice.h"
#include "sections.h"

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace ImageAcquisition;

namespace Guest {

namespace {

bool isRgb24(const std::string& fourcc)
{
    return fourcc == "RGB3" || fourcc == "BGR3";
}

// Selects the smallest size at the highest rate, streams until one picture
// comes and checks its size against the stride. raw, when given, is the
// driver's own view of the format in force.
void streamOneFormat(IStreamingCamera& camera, int index, const RawDevice* raw)
{
    IPixelFormat* format = camera.getFormat(index);
    const std::string fourcc = format->getFourCC();
    const int sizeIndex = smallestResolution(*format);
    IResolution* resolution = format->getResolution(sizeIndex);
    const int intervalIndex = fastestInterval(*resolution);
    const std::string what = fourcc + (format->isEmulated() ? " (emulated) " : " ")
                             + std::to_string(resolution->getWidth()) + "x"
                             + std::to_string(resolution->getHeight());
    CHECK_MSG(camera.setFormat(index, sizeIndex, intervalIndex), what);
    const int stride = resolution->getBytesPerLine();
    if (raw && !format->isEmulated()) {
        const v4l2_format current = raw->currentFormat();
        CHECK_MSG(fourccText(current.fmt.pix.pixelformat) == fourcc, what);
        CHECK_EQ(static_cast<int>(current.fmt.pix.bytesperline), stride);
    }
    if (isRgb24(fourcc))
        CHECK_EQ(stride, static_cast<int>(resolution->getWidth() * 3));
    if (fourcc == "YUYV")
        CHECK_EQ(stride, static_cast<int>(resolution->getWidth() * 2));

    CHECK_EQ(camera.allocateBuffers(2), 0);
    CHECK_EQ(camera.startStreaming(), 0);
    IFrame* frame = waitForFrame(camera, 10000);
    CHECK_MSG(frame, "no frame for " + what);
    if (frame) {
        const long long rows = resolution->getHeight();
        if (!format->isCompressed()) {
            CHECK_MSG(stride > 0, what);
            CHECK_MSG(frame->getSize() >= stride * rows,
                      what + ": " + std::to_string(frame->getSize()) + " bytes");
        }
        if (isRgb24(fourcc))
            CHECK_MSG(frame->getSize() == stride * rows, what);
        if (raw && !format->isEmulated())
            CHECK_EQ(static_cast<unsigned>(frame->getSize()),
                     raw->currentFormat().fmt.pix.sizeimage);
        const IFrame::TimeStamp stamp = frame->getTimeStamp();
        CHECK_MSG(stamp.seconds > 0 || stamp.microseconds > 0, what);
        CHECK_MSG(stamp.microseconds >= 0 && stamp.microseconds < 1000000, what);
        camera.releaseFrame(frame);
    }
    CHECK_EQ(camera.stopStreaming(), 0);
    CHECK_EQ(camera.releaseBuffers(), 0);
}

class ForeignFrame : public IFrame
{
public:
    int getSize() const override { return 0; }
    const unsigned char* getData() const override { return nullptr; }
    unsigned long long getFrameNumber() const override { return 0; }
    TimeStamp getTimeStamp() const override { return {0, 0}; }
    bool isEmpty() const override { return true; }
};

} // namespace

void testFormats()
{
    auto camera = openFirstCamera();
    CHECK(camera);
    if (!camera)
        return;
    RawDevice raw;
    for (int i = 0; i < camera->getFormatCount(); ++i)
        streamOneFormat(*camera, i, &raw);
}

void testEmulated()
{
    auto camera = openFirstCamera();
    CHECK(camera);
    if (!camera)
        return;
    int emulated = 0;
    bool emulatedRgb = false;
    for (int i = 0; i < camera->getFormatCount(); ++i) {
        IPixelFormat* format = camera->getFormat(i);
        if (!format->isEmulated())
            continue;
        ++emulated;
        emulatedRgb = emulatedRgb || isRgb24(format->getFourCC());
        streamOneFormat(*camera, i, nullptr);
    }
    CHECK(emulated > 0);
    CHECK(emulatedRgb);
}

void testStreaming()
{
    auto camera = openFirstCamera();
    CHECK(camera);
    if (!camera)
        return;

    // As the application opens a camera: every "RGB3" or "BGR3" is made
    // current in turn, the last one wins.
    int preferred = -1;
    for (int i = 0; i < camera->getFormatCount(); ++i) {
        const std::string description = camera->getFormat(i)->getDescription();
        if (description == "RGB3" || description == "BGR3") {
            CHECK(camera->setFormat(i, 0, 0));
            preferred = i;
        }
    }
    CHECK(preferred >= 0);
    if (preferred < 0)
        return;
    CHECK_EQ(camera->getCurrentFormatIndex(), preferred);
    IPixelFormat* format = camera->getFormat(preferred);
    const int sizeIndex = smallestResolution(*format);
    const int intervalIndex = fastestInterval(*format->getResolution(sizeIndex));
    CHECK(camera->setFormat(preferred, sizeIndex, intervalIndex));

    // Before any buffer: empty frames, refused starts.
    IFrame* idle = camera->getFrame();
    CHECK(idle && idle->isEmpty());
    camera->releaseFrame(idle);
    CHECK(camera->startStreaming() != 0);
    CHECK(camera->allocateBuffers(0) != 0);

    CHECK_EQ(camera->allocateBuffers(2), 0);
    CHECK(camera->allocateBuffers(2) != 0);
    CHECK(!camera->setFormat(preferred, sizeIndex, intervalIndex));
    CHECK_EQ(camera->startStreaming(), 0);
    CHECK(!camera->setFormat(preferred, sizeIndex, intervalIndex));

    // The application's ticks: one frame a tick, given back at once.
    int pictures = 0;
    unsigned long long lastNumber = 0;
    long long lastStamp = -1;
    long long slowestCall = 0;
    const long long deadline = monotonicMicroseconds() + 10000000;
    while (pictures < 8 && monotonicMicroseconds() < deadline) {
        const long long before = monotonicMicroseconds();
        IFrame* frame = camera->getFrame();
        slowestCall = std::max(slowestCall, monotonicMicroseconds() - before);
        CHECK(frame);
        if (!frame)
            break;
        if (!frame->isEmpty()) {
            const IFrame::TimeStamp stamp = frame->getTimeStamp();
            const long long micros = stamp.seconds * 1000000 + stamp.microseconds;
            if (pictures > 0) {
                CHECK(frame->getFrameNumber() > lastNumber);
                CHECK(micros > lastStamp);
            }
            lastNumber = frame->getFrameNumber();
            lastStamp = micros;
            ++pictures;
        }
        camera->releaseFrame(frame);
        sleepMilliseconds(10);
    }
    CHECK_EQ(pictures, 8);
    // getFrame never waits for a picture (generous bound: the CPU is emulated).
    CHECK_MSG(slowestCall < 200000, std::to_string(slowestCall) + " us");
    CHECK_EQ(camera->stopStreaming(), 0);
    CHECK_EQ(camera->releaseBuffers(), 0);

    // Newest first: with three buffers filled while nobody asked, the one
    // handed out is the last filled, and nothing older comes after it.
    CHECK_EQ(camera->allocateBuffers(3), 0);
    CHECK_EQ(camera->startStreaming(), 0);
    sleepMilliseconds(1500);
    IFrame* newest = camera->getFrame();
    CHECK(newest && !newest->isEmpty());
    if (newest && !newest->isEmpty()) {
        CHECK_MSG(newest->getFrameNumber() >= 2, std::to_string(newest->getFrameNumber()));
        IFrame* after = camera->getFrame();
        CHECK(after);
        if (after && !after->isEmpty())
            CHECK(after->getFrameNumber() > newest->getFrameNumber());
        camera->releaseFrame(after);
    }
    camera->releaseFrame(newest);
    CHECK_EQ(camera->stopStreaming(), 0);
    CHECK_EQ(camera->releaseBuffers(), 0);

    // A frame held across stop and release keeps its bytes, and giving it
    // back afterwards is harmless; unknown frames are ignored.
    CHECK_EQ(camera->allocateBuffers(2), 0);
    CHECK_EQ(camera->startStreaming(), 0);
    IFrame* held = waitForFrame(*camera, 10000);
    CHECK(held);
    if (held) {
        std::vector<unsigned char> copy(held->getData(), held->getData() + held->getSize());
        CHECK_EQ(camera->stopStreaming(), 0);
        CHECK_EQ(camera->releaseBuffers(), 0);
        CHECK_EQ(static_cast<std::size_t>(held->getSize()), copy.size());
        CHECK(std::equal(copy.begin(), copy.end(), held->getData()));
        camera->releaseFrame(held);
    }
    ForeignFrame foreign;
    camera->releaseFrame(&foreign);
    camera->releaseFrame(nullptr);
    CHECK_EQ(camera->stopStreaming(), 0);

    // getFrame never waits for the next picture: at the slowest rate, the
    // call right after a picture returns at once with an empty frame.
    IResolution* size = format->getResolution(sizeIndex);
    int slowest = 0;
    for (int i = 1; i < size->getFrameIntervalCount(); ++i) {
        IFrameInterval* candidate = size->getFrameInterval(i);
        IFrameInterval* current = size->getFrameInterval(slowest);
        if (1LL * candidate->getNumerator() * current->getDenominator()
            > 1LL * current->getNumerator() * candidate->getDenominator())
            slowest = i;
    }
    IFrameInterval* period = size->getFrameInterval(slowest);
    CHECK_MSG(period->getNumerator() * 4 >= period->getDenominator(), "no slow rate to test with");
    CHECK(camera->setFormat(preferred, sizeIndex, slowest));
    CHECK_EQ(camera->allocateBuffers(2), 0);
    CHECK_EQ(camera->startStreaming(), 0);
    IFrame* first = waitForFrame(*camera, 10000);
    CHECK(first);
    if (first) {
        camera->releaseFrame(first);
        const long long before = monotonicMicroseconds();
        IFrame* next = camera->getFrame();
        const long long took = monotonicMicroseconds() - before;
        CHECK(next && next->isEmpty());
        CHECK_MSG(took < 100000, std::to_string(took) + " us");
        camera->releaseFrame(next);
    }
    CHECK_EQ(camera->stopStreaming(), 0);
    CHECK_EQ(camera->releaseBuffers(), 0);
    CHECK(camera->setFormat(preferred, sizeIndex, intervalIndex));

    // Streaming again, then deleting the camera with a frame still out.
    CHECK_EQ(camera->allocateBuffers(2), 0);
    CHECK_EQ(camera->startStreaming(), 0);
    CHECK(waitForFrame(*camera, 10000));
    camera.reset();
}

} // namespace Guest
