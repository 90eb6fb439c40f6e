#pragma once

#include <formatchoice.h>
#include <jpegdecoder.h>
#include <opencamera.h>
#include <pixelformat.h>

#include <imageacquisition/iframe.h>

#include <gst/gst.h>

#include <QPair>
#include <QString>
#include <QVector>

#include <memory>
#include <mutex>

namespace Tarvello {

// The camera behind one tarvellosrc: opened by selector, set up, streamed,
// and turned frame by frame into buffers. Shared (std::shared_ptr) by the
// element and by every buffer that still wraps one of its frames, so that
// the camera is closed only when the last of them has gone.
//
// The layer is not thread-safe: every call on the camera is made under
// one lock, except waitForFrame, which the layer lets run beside the
// others. A frame wrapped into a buffer goes back to the layer, under the
// same lock, from whichever thread drops the buffer last.
class SourceCamera : public std::enable_shared_from_this<SourceCamera>
{
public:
    // Buffers asked of the camera; a frame is wrapped rather than copied
    // only while at least kSpareBuffers of them stay with the camera, so
    // that a downstream that holds buffers never starves it.
    static constexpr int kCameraBuffers = 6;
    static constexpr int kSpareBuffers = 2;

    // Throws NoSuchCamera or Refused (cannot be opened).
    static std::shared_ptr<SourceCamera> open(const QString& selector);
    ~SourceCamera();
    SourceCamera(const SourceCamera&) = delete;
    SourceCamera& operator=(const SourceCamera&) = delete;

    const CameraEntry& entry() const { return m_open.entry(); }

    // Checks the whole profile file before writing it; throws CtlError.
    void applyProfile(const QString& file);
    // The user's stored profile of the camera (tarvello-ctl profile
    // store), if it has one; throws CtlError.
    void applyStoredProfile();
    // Checks every assignment before the first write; throws CtlError.
    void applyControls(const QVector<QPair<QString, QString>>& assignments);

    // Every format the camera offers (FormatCaps::of).
    GstCaps* caps();
    // Sets the format of fixed caps and starts the stream; throws CtlError
    // (BadInput for caps the camera does not offer, Refused when it will not
    // take them or cannot stream).
    void start(const GstCaps* caps);
    void stop();
    bool isStreaming() const { return m_streaming; }
    const FormatChoice::Interval& interval() const { return m_interval; }

    // The layer's waitForFrame: 1 ready, 0 timeout, -ENODEV unplugged.
    int waitForFrame(int timeoutMs);

    struct Frame
    {
        GstBuffer* buffer = nullptr; // null: nothing ready, or a damaged frame
        bool damaged = false;        // a frame came but could not be used
        unsigned long long number = 0;
        ImageAcquisition::IFrame::TimeStamp stamp{0, 0};
    };
    // The next frame as a buffer: wrapped when the camera has buffers to
    // spare and the frame's layout is GStreamer's, copied otherwise.
    Frame take();

    // Frames wrapped into buffers that have not come back yet.
    int framesLent() const;

private:
    explicit SourceCamera(const QString& selector);
    void stopLocked();
    GstBuffer* wrap(ImageAcquisition::IFrame* frame, gsize size);
    GstBuffer* copy(const ImageAcquisition::IFrame& frame);
    void giveBack(ImageAcquisition::IFrame* frame);
    static void lentFrameFreed(gpointer lent);

    mutable std::mutex m_mutex;
    OpenCamera m_open;
    bool m_streaming = false;
    int m_lent = 0;
    // The running stream's layout.
    PixelFormat m_format = PixelFormat::of("");
    int m_width = 0;
    int m_height = 0;
    int m_bytesPerLine = 0;
    int m_packedStride = 0; // GStreamer's, for raw formats
    FormatChoice::Interval m_interval{1, 30};
    JpegDecoder m_jpeg;
    // Copies of raw frames go into buffers of a pool of the stream's
    // frame size, whose memory is used again, not fresh pages each frame.
    GstBufferPool* m_copies = nullptr;
};

} // namespace Tarvello
