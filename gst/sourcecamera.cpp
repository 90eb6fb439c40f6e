#include "sourcecamera.h"

#include "formatcaps.h"

#include <badinput.h>
#include <controlwriter.h>
#include <profile.h>
#include <refused.h>
#include <storedprofile.h>

#include <imageacquisition/imageacquisition.h>

#include <cstring>
#include <optional>

namespace Tarvello {

using namespace ImageAcquisition;

namespace {

// What a wrapped buffer's memory keeps until it is freed.
struct LentFrame
{
    std::shared_ptr<SourceCamera> camera;
    IFrame* frame;
};

} // namespace

std::shared_ptr<SourceCamera> SourceCamera::open(const QString& selector)
{
    return std::shared_ptr<SourceCamera>(new SourceCamera(selector));
}

SourceCamera::SourceCamera(const QString& selector) : m_open(selector) {}

SourceCamera::~SourceCamera()
{
    // Only reached once no buffer holds a frame: each holds the camera.
    stopLocked();
}

void SourceCamera::applyProfile(const QString& file)
{
    const QByteArray text = Profile::readFile(file);
    const std::lock_guard<std::mutex> lock(m_mutex);
    const ProfilePlan plan = Profile::check(m_open.camera(), m_open.entry(), text);
    const WriteOutcome outcome = Profile::apply(m_open.camera(), plan);
    if (!outcome.complete())
        throw Refused(QString("The profile %1 was applied only in part.\n%2").arg(file, outcome.report()),
                      outcome.written);
}

void SourceCamera::applyStoredProfile()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_open.entry().serial.isEmpty())
        return;
    const StoredProfile stored(m_open.entry(), StoredProfile::Scope::User);
    const std::optional<WriteOutcome> outcome = stored.apply(m_open.camera());
    if (outcome && !outcome->complete())
        throw Refused(QString("The stored profile %1 was applied only in part.\n%2").arg(stored.path(), outcome->report()),
                      outcome->written);
}

void SourceCamera::applyControls(const QVector<QPair<QString, QString>>& assignments)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const ControlWriter writer(m_open.camera());
    writer.applyAll(writer.plan(assignments));
}

GstCaps* SourceCamera::caps()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return FormatCaps::of(m_open.camera());
}

void SourceCamera::start(const GstCaps* caps)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    IStreamingCamera& camera = m_open.camera();
    FormatChoice::Request request;
    if (!FormatCaps::request(camera, caps, &request)) {
        gchar* text = gst_caps_to_string(caps);
        const QString message = QString("The camera offers no format for %1.").arg(QString::fromUtf8(text));
        g_free(text);
        throw BadInput(message);
    }
    const FormatChoice choice(camera, request);
    stopLocked();
    if (!camera.setFormat(choice.formatIndex, choice.resolutionIndex, choice.intervalIndex))
        throw Refused(QString("The camera refused %1 %2x%3 (is it streaming in another program?).")
                          .arg(choice.fourcc)
                          .arg(choice.width)
                          .arg(choice.height));
    int result = camera.allocateBuffers(kCameraBuffers);
    if (result == 0) {
        result = camera.startStreaming();
        if (result != 0)
            camera.releaseBuffers();
    }
    if (result != 0)
        throw Refused(QString("The camera cannot stream %1 %2x%3: %4.")
                          .arg(choice.fourcc)
                          .arg(choice.width)
                          .arg(choice.height)
                          .arg(QString::fromUtf8(g_strerror(-result))));
    m_streaming = true;
    m_format = PixelFormat::of(choice.fourcc.toStdString());
    m_width = int(choice.width);
    m_height = int(choice.height);
    m_bytesPerLine = choice.bytesPerLine;
    m_packedStride = FormatCaps::packedStride(choice.fourcc, m_width);
    m_interval = choice.interval;
    if (!m_format.isCompressed()) {
        m_copies = gst_buffer_pool_new();
        GstStructure* config = gst_buffer_pool_get_config(m_copies);
        gst_buffer_pool_config_set_params(config, nullptr, guint(m_packedStride) * guint(m_height), 2, 0);
        gst_buffer_pool_set_config(m_copies, config);
        gst_buffer_pool_set_active(m_copies, TRUE);
    }
}

void SourceCamera::stop()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    stopLocked();
}

void SourceCamera::stopLocked()
{
    if (!m_streaming)
        return;
    // Frames still lent stay valid after this: the layer keeps them until
    // they are handed back or the camera is deleted.
    m_open.camera().stopStreaming();
    m_open.camera().releaseBuffers();
    m_streaming = false;
    if (m_copies) {
        // Buffers still out go back to an inactive pool, which frees them.
        gst_buffer_pool_set_active(m_copies, FALSE);
        gst_object_unref(m_copies);
        m_copies = nullptr;
    }
}

int SourceCamera::waitForFrame(int timeoutMs)
{
    return m_open.camera().waitForFrame(timeoutMs);
}

int SourceCamera::framesLent() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_lent;
}

SourceCamera::Frame SourceCamera::take()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    Frame taken;
    if (!m_streaming)
        return taken;
    IStreamingCamera& camera = m_open.camera();
    IFrame* frame = camera.getFrame();
    if (frame->isEmpty()) {
        camera.releaseFrame(frame);
        return taken;
    }
    taken.number = frame->getFrameNumber();
    taken.stamp = frame->getTimeStamp();
    const long long size = frame->getSize();

    bool usable = false;
    bool wrappable = false;
    gsize wrapSize = 0;
    if (m_format.isCompressed()) {
        JpegDecoder::Header header;
        usable = m_jpeg.readHeader(frame->getData(), size_t(size), &header);
        wrappable = true;
        wrapSize = gsize(size);
    } else {
        usable = m_format.holdsWholeFrame(size, m_width, m_height, m_bytesPerLine);
        const long long packed = (long long)m_packedStride * m_height;
        wrappable = m_bytesPerLine == m_packedStride && size >= packed;
        wrapSize = gsize(packed);
    }
    if (!usable) {
        camera.releaseFrame(frame);
        taken.damaged = true;
        return taken;
    }
    if (wrappable && m_lent < kCameraBuffers - kSpareBuffers) {
        taken.buffer = wrap(frame, wrapSize);
        return taken;
    }
    taken.buffer = copy(*frame);
    camera.releaseFrame(frame);
    return taken;
}

GstBuffer* SourceCamera::wrap(IFrame* frame, gsize size)
{
    ++m_lent;
    auto* lent = new LentFrame{shared_from_this(), frame};
    GstBuffer* buffer = gst_buffer_new();
    // The layer's memory is never written: read-only, and a writer gets a copy.
    gst_buffer_append_memory(buffer, gst_memory_new_wrapped(GST_MEMORY_FLAG_READONLY,
                                                             const_cast<unsigned char*>(frame->getData()),
                                                             gsize(frame->getSize()), 0, size, lent,
                                                             &SourceCamera::lentFrameFreed));
    return buffer;
}

GstBuffer* SourceCamera::copy(const IFrame& frame)
{
    if (m_format.isCompressed()) {
        GstBuffer* buffer = gst_buffer_new_allocate(nullptr, gsize(frame.getSize()), nullptr);
        gst_buffer_fill(buffer, 0, frame.getData(), gsize(frame.getSize()));
        return buffer;
    }
    // Rows into GStreamer's layout, whatever the camera's padding.
    const gsize rowBytes = gsize(m_format.rowBytes(m_width));
    GstBuffer* buffer = nullptr;
    if (!m_copies || gst_buffer_pool_acquire_buffer(m_copies, &buffer, nullptr) != GST_FLOW_OK)
        buffer = gst_buffer_new_allocate(nullptr, gsize(m_packedStride) * gsize(m_height), nullptr);
    GstMapInfo map;
    gst_buffer_map(buffer, &map, GST_MAP_WRITE);
    if (m_bytesPerLine == m_packedStride && frame.getSize() >= (long long)m_packedStride * m_height) {
        std::memcpy(map.data, frame.getData(), map.size);
    } else {
        for (int row = 0; row < m_height; ++row) {
            unsigned char* to = map.data + gsize(row) * gsize(m_packedStride);
            std::memcpy(to, frame.getData() + gsize(row) * gsize(m_bytesPerLine), rowBytes);
            std::memset(to + rowBytes, 0, gsize(m_packedStride) - rowBytes);
        }
    }
    gst_buffer_unmap(buffer, &map);
    return buffer;
}

void SourceCamera::giveBack(IFrame* frame)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_open.camera().releaseFrame(frame);
    --m_lent;
}

void SourceCamera::lentFrameFreed(gpointer data)
{
    // The camera may be deleted right here, when this was the last hold on
    // it: after the lock of giveBack is gone.
    std::unique_ptr<LentFrame> lent(static_cast<LentFrame*>(data));
    lent->camera->giveBack(lent->frame);
}

} // namespace Tarvello
