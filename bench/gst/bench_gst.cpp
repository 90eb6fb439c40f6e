// tarvellosrc and tarvello-serve on the virtual camera, against what no
// element can avoid, measured in the same run:
//
//   raw     tarvellosrc ! fakesink, RGB3 1920x1080 at 1/60 s: CPU of the
//           whole process per buffer, against a plain loop on the layer
//           (waitForFrame, getFrame, a copy into memory of its own,
//           releaseFrame). Twice: with frames wrapped (fakesink drops each
//           buffer at once), and with downstream keeping the first buffers
//           to the end, which leaves the camera no buffer to spare and makes
//           the element copy every frame after them.
//   jpeg    tarvellosrc ! jpegdec ! fakesink, MJPG 1920x1080 at 1/30 s:
//           frames out of jpegdec against frames the camera delivered
//           (last frame number - first + 1), and CPU per frame against the
//           core's JpegDecoder alone plus the loop.
//   rtsp    tarvello-serve (the program) serving MJPG 1280x720 at 1/30 s to
//           four rtspsrc clients in this process: each client's frames
//           against the frames captured while it watched (by the RTP time
//           stamps, 3000 ticks a frame), and the server's CPU.
//
// Usage: bench_gst SECONDS TARVELLO_SERVE
// Prints markdown tables. Rounds alternate loop and pipeline so that a
// busy moment of a shared machine does not fall on one side only.

#include <cameraselector.h>
#include <jpegdecoder.h>
#include <opencamera.h>
#include <picturebuffer.h>
#include <tarvelloplugin.h>

#include <imageacquisition/imageacquisition.h>

#include <gst/gst.h>
#include <gst/rtp/gstrtpbuffer.h>

#include <QProcess>
#include <QRegularExpression>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <set>
#include <sys/resource.h>
#include <thread>
#include <time.h>
#include <vector>

using namespace ImageAcquisition;

namespace {

double processCpuMs()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e3
           + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e3;
}

double nowMs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1e3 + now.tv_nsec / 1e6;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

bool choose(IStreamingCamera& camera, const char* fourcc, unsigned width, unsigned height, int denominator)
{
    for (int f = 0; f < camera.getFormatCount(); ++f) {
        IPixelFormat* format = camera.getFormat(f);
        if (!format || std::strcmp(format->getFourCC(), fourcc) != 0)
            continue;
        for (int r = 0; r < format->getResolutionCount(); ++r) {
            IResolution* size = format->getResolution(r);
            if (size->getWidth() != width || size->getHeight() != height)
                continue;
            for (int i = 0; i < size->getFrameIntervalCount(); ++i) {
                IFrameInterval* interval = size->getFrameInterval(i);
                if (interval->getNumerator() == 1 && interval->getDenominator() == denominator)
                    return camera.setFormat(f, r, i);
            }
        }
    }
    return false;
}

// The plain loop: CPU per frame over frames frames, after a few to warm up.
// held: the first frames kept to the end, as a downstream that holds buffers
// keeps the element's.
double plainLoop(const QString& serial, const char* fourcc, int denominator, int frames, int held = 0)
{
    Tarvello::OpenCamera open(serial);
    IStreamingCamera& camera = open.camera();
    if (!choose(camera, fourcc, 1920, 1080, denominator) || camera.allocateBuffers(6) != 0 || camera.startStreaming() != 0)
        return -1;
    const bool jpeg = std::strcmp(fourcc, "MJPG") == 0;
    Tarvello::JpegDecoder decoder;
    std::vector<unsigned char> picture(1920 * 1080 * 3);
    const Tarvello::PictureBuffer target{picture.data(), 1920, 1080, 1920 * 3, Tarvello::PixelLayout::Rgb24};
    int taken = 0;
    double start = 0;
    constexpr int kWarmUp = 10;
    std::vector<IFrame*> kept;
    while (taken < frames + kWarmUp) {
        if (camera.waitForFrame(100) <= 0)
            continue;
        IFrame* frame = camera.getFrame();
        if (!frame->isEmpty()) {
            if (jpeg) {
                decoder.decode(frame->getData(), size_t(frame->getSize()), target);
            } else {
                // Memory of its own for each frame, as a buffer that outlives
                // the layer's needs.
                std::unique_ptr<unsigned char[]> copy(new unsigned char[size_t(frame->getSize())]);
                std::memcpy(copy.get(), frame->getData(), size_t(frame->getSize()));
            }
            if (++taken == kWarmUp)
                start = processCpuMs();
            if (int(kept.size()) < held) {
                kept.push_back(frame);
                continue;
            }
        }
        camera.releaseFrame(frame);
    }
    const double used = processCpuMs() - start;
    for (IFrame* frame : kept)
        camera.releaseFrame(frame);
    camera.stopStreaming();
    camera.releaseBuffers();
    return used / frames;
}

struct PipelineRun
{
    double cpuPerFrame = -1;
    guint64 out = 0;
    guint64 delivered = 0;
    guint64 dropped = 0;
};

struct Counter
{
    std::atomic<guint64> buffers{0};
    std::atomic<guint64> first{G_MAXUINT64};
    std::atomic<guint64> last{0};
    std::mutex mutex;
    std::deque<GstBuffer*> held;
    size_t hold = 0;
    // The measuring thread sleeps until the count it waits for is reached,
    // so that its own waking is not charged to the pipeline.
    std::condition_variable reached;
    guint64 wanted = G_MAXUINT64;
};

void waitForBuffers(Counter& counter, guint64 count)
{
    std::unique_lock<std::mutex> lock(counter.mutex);
    counter.wanted = count;
    counter.reached.wait(lock, [&] { return counter.buffers >= count; });
    counter.wanted = G_MAXUINT64;
}

GstPadProbeReturn countOut(GstPad*, GstPadProbeInfo* info, gpointer data)
{
    auto* counter = static_cast<Counter*>(data);
    const std::lock_guard<std::mutex> lock(counter->mutex);
    // The first buffers kept to the end: the frames they wrap stay lent,
    // and the element must copy every frame after them.
    if (counter->held.size() < counter->hold)
        counter->held.push_back(gst_buffer_ref(GST_PAD_PROBE_INFO_BUFFER(info)));
    if (++counter->buffers == counter->wanted)
        counter->reached.notify_one();
    return GST_PAD_PROBE_OK;
}

GstPadProbeReturn countDelivered(GstPad*, GstPadProbeInfo* info, gpointer data)
{
    auto* counter = static_cast<Counter*>(data);
    const guint64 number = GST_BUFFER_OFFSET(GST_PAD_PROBE_INFO_BUFFER(info));
    guint64 expected = G_MAXUINT64;
    counter->first.compare_exchange_strong(expected, number);
    counter->last = number;
    return GST_PAD_PROBE_OK;
}

PipelineRun pipeline(const QString& description, int frames, size_t hold)
{
    PipelineRun run;
    GError* error = nullptr;
    GstElement* pipeline = gst_parse_launch(description.toUtf8().constData(), &error);
    if (error) {
        std::fprintf(stderr, "bench_gst: %s\n", error->message);
        g_error_free(error);
        return run;
    }
    Counter out;
    out.hold = hold;
    Counter delivered;
    GstElement* sink = gst_bin_get_by_name(GST_BIN(pipeline), "sink");
    GstElement* source = gst_bin_get_by_name(GST_BIN(pipeline), "src");
    GstPad* sinkPad = gst_element_get_static_pad(sink, "sink");
    GstPad* sourcePad = gst_element_get_static_pad(source, "src");
    gst_pad_add_probe(sinkPad, GST_PAD_PROBE_TYPE_BUFFER, countOut, &out, nullptr);
    gst_pad_add_probe(sourcePad, GST_PAD_PROBE_TYPE_BUFFER, countDelivered, &delivered, nullptr);
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    constexpr guint64 kWarmUp = 10;
    waitForBuffers(out, kWarmUp);
    const double start = processCpuMs();
    const guint64 outStart = out.buffers;
    const guint64 firstDelivered = delivered.last;
    waitForBuffers(out, outStart + guint64(frames));
    const double used = processCpuMs() - start;
    run.out = out.buffers - outStart;
    run.delivered = delivered.last - firstDelivered;
    run.cpuPerFrame = used / double(run.out);
    g_object_get(source, "frames-dropped", &run.dropped, nullptr);
    gst_element_set_state(pipeline, GST_STATE_NULL);
    for (GstBuffer* buffer : out.held)
        gst_buffer_unref(buffer);
    gst_object_unref(sinkPad);
    gst_object_unref(sourcePad);
    gst_object_unref(sink);
    gst_object_unref(source);
    gst_object_unref(pipeline);
    return run;
}

void rawAndJpeg(const QString& serial, int seconds)
{
    const int rounds = 5;
    const int rawFrames = std::max(60, seconds * 60 / rounds);
    const int jpegFrames = std::max(30, seconds * 30 / rounds);
    const QString raw = QString("tarvellosrc name=src device=%1 ! "
                                "video/x-raw,format=RGB,width=1920,height=1080,framerate=60/1 ! fakesink name=sink sync=false")
                            .arg(serial);
    QString rawNoLast = raw;
    rawNoLast.replace("sync=false", "sync=false enable-last-sample=false");
    const QString jpeg = QString("tarvellosrc name=src device=%1 ! image/jpeg,width=1920,height=1080,framerate=30/1 ! "
                                 "jpegdec ! fakesink name=sink sync=false")
                             .arg(serial);
    std::vector<double> loop, heldLoop, wrapped, copied, copiedNoLast, decodeLoop, decoded;
    guint64 out = 0, delivered = 0, dropped = 0;
    for (int round = 0; round < rounds; ++round) {
        loop.push_back(plainLoop(serial, "RGB3", 60, rawFrames));
        wrapped.push_back(pipeline(raw, rawFrames, 0).cpuPerFrame);
        copied.push_back(pipeline(raw, rawFrames, 4).cpuPerFrame);
        heldLoop.push_back(plainLoop(serial, "RGB3", 60, rawFrames, 4));
        copiedNoLast.push_back(pipeline(rawNoLast, rawFrames, 4).cpuPerFrame);
        decodeLoop.push_back(plainLoop(serial, "MJPG", 30, jpegFrames));
        const PipelineRun run = pipeline(jpeg, jpegFrames, 0);
        decoded.push_back(run.cpuPerFrame);
        out += run.out;
        delivered += run.delivered;
        dropped += run.dropped;
    }
    const double base = median(loop);
    std::printf("| Pipeline | CPU per frame (ms) | plain loop (ms) | ratio | target |\n|---|---|---|---|---|\n");
    std::printf("| tarvellosrc ! fakesink, RGB3 1920x1080 1/60, frames wrapped | %.3f | %.3f | %.2f | < 1 (below the loop): %s |\n",
                median(wrapped), base, median(wrapped) / base, median(wrapped) < base ? "met" : "missed");
    std::printf("| same, downstream keeping the first 4 buffers (every later frame copied) | %.3f | %.3f | %.2f | ≤ 1.1: %s |\n",
                median(copied), base, median(copied) / base, median(copied) <= 1.1 * base ? "met" : "missed");
    const double decodeBase = median(decodeLoop);
    std::printf("| same, fakesink enable-last-sample=false (the copies go into one buffer, not two in turn) | %.3f | %.3f | %.2f | ≤ 1.1: %s |\n",
                median(copiedNoLast), base, median(copiedNoLast) / base, median(copiedNoLast) <= 1.1 * base ? "met" : "missed");
    std::printf("| the plain loop keeping its first 4 frames too (the camera left 2 buffers, as above) | %.3f | %.3f | %.2f | (what the copied row costs the camera) |\n",
                median(heldLoop), base, median(heldLoop) / base);
    std::printf("| tarvellosrc ! jpegdec ! fakesink, MJPG 1920x1080 1/30 | %.3f | %.3f (the core's decode + loop) | %.2f | ≤ 1.1: %s |\n",
                median(decoded), decodeBase, median(decoded) / decodeBase,
                median(decoded) <= 1.1 * decodeBase ? "met" : "missed");
    std::printf("\nMJPG through jpegdec: %llu frames out of %llu delivered (%.1f %%; target ≥ 98 %%: %s); "
                "frames the element counted dropped: %llu.\n",
                (unsigned long long)out, (unsigned long long)delivered, 100.0 * double(out) / double(delivered),
                out >= 0.98 * double(delivered) ? "met" : "missed", (unsigned long long)dropped);
    std::printf("Rounds: %d, each %d raw and %d JPEG frames per side; medians over the rounds.\n\n", rounds,
                rawFrames, jpegFrames);
}

struct RtpCounter
{
    std::mutex mutex;
    bool counting = false;
    std::set<guint32> stamps;
};

GstPadProbeReturn countRtp(GstPad*, GstPadProbeInfo* info, gpointer data)
{
    auto* counter = static_cast<RtpCounter*>(data);
    GstRTPBuffer rtp = GST_RTP_BUFFER_INIT;
    if (gst_rtp_buffer_map(GST_PAD_PROBE_INFO_BUFFER(info), GST_MAP_READ, &rtp)) {
        const guint32 stamp = gst_rtp_buffer_get_timestamp(&rtp);
        gst_rtp_buffer_unmap(&rtp);
        const std::lock_guard<std::mutex> lock(counter->mutex);
        if (counter->counting)
            counter->stamps.insert(stamp);
    }
    return GST_PAD_PROBE_OK;
}

long long processTicks(qint64 pid)
{
    FILE* file = std::fopen(QString("/proc/%1/stat").arg(pid).toUtf8().constData(), "r");
    if (!file)
        return -1;
    char text[1024] = {};
    const size_t got = std::fread(text, 1, sizeof text - 1, file);
    std::fclose(file);
    const QStringList fields = QString::fromLatin1(text, int(got)).section(')', 1).split(' ', Qt::SkipEmptyParts);
    return fields.size() > 13 ? fields[11].toLongLong() + fields[12].toLongLong() : -1;
}

void rtsp(const QString& server, int seconds)
{
    QProcess process;
    process.start(server, {"--port", "0", "--format", "MJPG", "--size", "1280x720", "--interval", "1/30"});
    QString url;
    for (int i = 0; i < 200 && url.isEmpty(); ++i) {
        process.waitForReadyRead(100);
        const QRegularExpressionMatch match =
            QRegularExpression("(rtsp://\\S+)").match(QString::fromUtf8(process.readAllStandardOutput()));
        if (match.hasMatch())
            url = match.captured(1);
    }
    if (url.isEmpty()) {
        std::printf("RTSP: tarvello-serve served nothing: %s\n", process.readAllStandardError().constData());
        return;
    }
    constexpr int kClients = 4;
    std::vector<GstElement*> clients;
    std::vector<std::unique_ptr<RtpCounter>> counters;
    for (int i = 0; i < kClients; ++i) {
        GstElement* client = gst_parse_launch(
            QString("rtspsrc location=%1 protocols=tcp latency=200 ! rtpjpegdepay name=depay ! fakesink sync=false")
                .arg(url)
                .toUtf8()
                .constData(),
            nullptr);
        counters.push_back(std::make_unique<RtpCounter>());
        GstElement* depay = gst_bin_get_by_name(GST_BIN(client), "depay");
        GstPad* pad = gst_element_get_static_pad(depay, "sink");
        gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, countRtp, counters.back().get(), nullptr);
        gst_object_unref(pad);
        gst_object_unref(depay);
        gst_element_set_state(client, GST_STATE_PLAYING);
        clients.push_back(client);
    }
    std::this_thread::sleep_for(std::chrono::seconds(3));
    for (auto& counter : counters) {
        const std::lock_guard<std::mutex> lock(counter->mutex);
        counter->counting = true;
    }
    const long long ticksStart = processTicks(process.processId());
    const double start = nowMs();
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    for (auto& counter : counters) {
        const std::lock_guard<std::mutex> lock(counter->mutex);
        counter->counting = false;
    }
    const double wall = nowMs() - start;
    const long long ticks = processTicks(process.processId()) - ticksStart;
    const double serverShare = 100.0 * double(ticks) * 1000.0 / double(sysconf(_SC_CLK_TCK)) / wall;
    std::printf("| Client | frames received | frames captured meanwhile | share | target ≥ 98 %% |\n|---|---|---|---|---|\n");
    for (int i = 0; i < kClients; ++i) {
        const std::set<guint32>& stamps = counters[size_t(i)]->stamps;
        const double received = double(stamps.size());
        const double captured = stamps.empty() ? 0 : double(*stamps.rbegin() - *stamps.begin()) / 3000.0 + 1;
        std::printf("| %d | %.0f | %.0f | %.1f %% | %s |\n", i + 1, received, captured,
                    captured > 0 ? 100.0 * received / captured : 0.0, received >= 0.98 * captured && captured > 0 ? "met" : "missed");
    }
    std::printf("\ntarvello-serve (MJPG 1280x720 at 1/30 s to %d clients over TCP, %.0f s): %.1f %% of one core.\n",
                kClients, wall / 1000, serverShare);
    for (GstElement* client : clients) {
        gst_element_set_state(client, GST_STATE_NULL);
        gst_object_unref(client);
    }
    process.terminate();
    process.waitForFinished(10000);
}

} // namespace

int main(int argc, char** argv)
{
    gst_init(&argc, &argv);
    if (argc < 3) {
        std::fprintf(stderr, "usage: bench_gst SECONDS TARVELLO_SERVE\n");
        return 2;
    }
    const int seconds = std::max(3, std::atoi(argv[1]));
    TarvelloPlugin::registerStatic();
    const QString serial = Tarvello::CameraSelector::presentCameras().value(0).serial;
    if (serial.isEmpty()) {
        std::fprintf(stderr, "bench_gst: no virtual camera (IMAGEACQUISITION_VIRTUAL_CAMERAS=1)\n");
        return 1;
    }
    rawAndJpeg(serial, seconds);
    rtsp(QString::fromLocal8Bit(argv[2]), seconds);
    return 0;
}
