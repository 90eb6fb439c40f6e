// How the live view keeps up with the camera, measured from outside the
// application:
//  - shown: newImage emissions; the window emits it for every shown frame,
//    right after setPixmap has set the picture on the label;
//  - delivered: the virtual camera numbers its frames consecutively, a
//    dropped frame leaves a gap, so from the first to the last frame shown
//    the camera delivered last - first + 1;
//  - latency: from the frame's time stamp (CLOCK_MONOTONIC, the moment the
//    frame was ready) to newImage, i.e. to the moment its picture is on the
//    label. The frame is the one the tick holds (BenchCamera notes it). For
//    information, also to the label's next paint, which the event loop runs
//    later and which may carry a newer picture;
//  - CPU: user and system time of the whole process (every thread) over the
//    wall time of the measurement, against the unavoidable steps of a frame
//    (StepCost) times the frame rate.
// Each run streams anew; shown and CPU are the median of the runs, with the
// lowest and highest beside it, as one run on a shared machine says little.
// Latencies are pooled over the runs.
#include "streambench.h"

#include "appdriver.h"
#include "frametap.h"
#include "monotonic.h"
#include "processmeter.h"
#include "samples.h"
#include "stepcost.h"

#include <QEvent>
#include <QLabel>
#include <QStringList>

#include <algorithm>

#include <cstdio>

namespace {

// Notes when the label paints, and how old the newest picture set on it is then.
class PaintWatch : public QObject
{
public:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint && pendingStampNs != 0) {
            latenciesMs.push_back(double(monotonicNs() - pendingStampNs) / 1e6);
            pendingStampNs = 0;
        }
        return QObject::eventFilter(watched, event);
    }

    long long pendingStampNs = 0;
    std::vector<double> latenciesMs;
};

struct Window
{
    bool open = false;
    unsigned long long firstNumber = 0;
    unsigned long long lastNumber = 0;
    unsigned long long shown = 0;
};

struct Run
{
    unsigned long long delivered = 0;
    unsigned long long shown = 0;
    double shownShare = 0;
    double cpuShare = 0;
};

// One frame as the camera delivered it, with the picture it became.
struct Sample
{
    bool wanted = false;
    std::vector<unsigned char> bytes;
};

QString spread(const std::vector<double>& values, const char* unit)
{
    const auto range = std::minmax_element(values.begin(), values.end());
    return QString("%1%4 (%2 to %3%4)")
        .arg(median(values), 0, 'f', 1)
        .arg(*range.first, 0, 'f', 1)
        .arg(*range.second, 0, 'f', 1)
        .arg(unit);
}

} // namespace

int runStreamBench(const QString& fourcc, int width, int height, int framesPerSecond, int seconds, int runs,
                   const StreamTargets& targets)
{
    AppDriver app;
    // Let the serial console open first: it asks fuser, which blocks the window a moment.
    AppDriver::runFor(1500);
    if (!app.select(fourcc, width, height, framesPerSecond)) {
        std::fprintf(stderr, "stream: no %s %dx%d at %d fps\n", qPrintable(fourcc), width, height, framesPerSecond);
        return 1;
    }

    Window window;
    Sample sample;
    std::vector<double> latenciesMs;
    PaintWatch paints;
    app.image->installEventFilter(&paints);
    QObject::connect(&app.window, &MainWindow::newImage, [&] {
        const long long now = monotonicNs();
        const FrameTap& tap = FrameTap::instance();
        if (!tap.holding)
            return;
        if (sample.wanted) {
            sample.bytes.assign(tap.frame->getData(), tap.frame->getData() + tap.frame->getSize());
            sample.wanted = false;
        }
        if (!window.open)
            return;
        if (window.shown == 0)
            window.firstNumber = tap.number;
        window.lastNumber = tap.number;
        ++window.shown;
        latenciesMs.push_back(double(now - nanosecondsOf(tap.stamp)) / 1e6);
        paints.pendingStampNs = nanosecondsOf(tap.stamp);
    });

    FrameTap& tap = FrameTap::instance();
    tap.getFrameMs.reserve(size_t(runs) * size_t(seconds) * size_t(framesPerSecond) * 2);
    latenciesMs.reserve(size_t(runs) * size_t(seconds) * size_t(framesPerSecond) * 2);
    std::vector<Run> results;
    unsigned long long emptyTicks = 0;
    double wallSeconds = 0;
    for (int run = 0; run < runs; ++run) {
        if (!app.start()) {
            std::fprintf(stderr, "stream: cannot stream %s %dx%d at %d fps\n", qPrintable(fourcc), width, height,
                         framesPerSecond);
            return 1;
        }
        AppDriver::runFor(2000); // warm-up
        tap.timeGetFrame = true;
        const unsigned long long emptyBefore = tap.emptyFrames;
        window = Window();
        window.open = true;
        const double cpuStart = ProcessMeter::cpuSeconds();
        const long long wallStart = monotonicNs();
        AppDriver::runFor(seconds * 1000);
        const double cpu = ProcessMeter::cpuSeconds() - cpuStart;
        const double wall = double(monotonicNs() - wallStart) / 1e9;
        window.open = false;
        tap.timeGetFrame = false;
        emptyTicks += tap.emptyFrames - emptyBefore;
        wallSeconds += wall;
        // One frame of the stream, for the cost of the steps alone.
        if (run == runs - 1) {
            sample.wanted = true;
            AppDriver::runFor(500);
        }
        app.stop();

        Run result;
        result.delivered = window.shown ? window.lastNumber - window.firstNumber + 1 : 0;
        result.shown = window.shown;
        result.shownShare = result.delivered ? 100.0 * double(window.shown) / double(result.delivered) : 0.0;
        result.cpuShare = 100.0 * cpu / wall;
        results.push_back(result);
        std::fprintf(stderr, "stream: %s %dx%d 1/%d run %d of %d: %.1f %% of a core, %.2f %% shown\n",
                     qPrintable(fourcc), width, height, framesPerSecond, run + 1, runs, result.cpuShare,
                     result.shownShare);
    }

    std::vector<double> shownShares, cpuShares;
    unsigned long long delivered = 0, shown = 0;
    for (const Run& run : results) {
        shownShares.push_back(run.shownShare);
        cpuShares.push_back(run.cpuShare);
        delivered += run.delivered;
        shown += run.shown;
    }
    const double shownMedian = median(shownShares);
    const double cpuMedian = median(cpuShares);
    const double periodMs = 1000.0 / framesPerSecond;
    const double latencyMedian = median(latenciesMs);
    const double latencyP99 = percentile(latenciesMs, 99);
    const double latencyTarget = periodMs + 10.0;
    const QString config = QString("%1 | %2x%3 | 1/%4").arg(fourcc).arg(width).arg(height).arg(framesPerSecond);

    std::printf("shown|| %s | %d × %.0f | %llu | %llu | %s | %s |\n", qPrintable(config), runs,
                wallSeconds / runs, delivered, shown, qPrintable(spread(shownShares, " %")),
                shownMedian >= 98.0 ? "holds" : "**missed**");
    std::printf("latency|| %s | %.1f | %.1f | %.1f | %s | %.1f | %.2f | %llu |\n", qPrintable(config),
                latencyMedian, latencyP99, latencyTarget,
                latencyMedian <= latencyTarget && latencyP99 <= latencyTarget ? "holds" : "**missed**",
                median(paints.latenciesMs), median(tap.getFrameMs), emptyTicks);

    // What a frame costs at the least, times the frames a second.
    StepCost stepCost;
    const int bytesPerLine = fourcc == "GRBG" ? width : fourcc == "MJPG" ? 0 : width * 3;
    const StepCost::Times steps = sample.bytes.empty()
        ? StepCost::Times()
        : stepCost.median(fourcc, sample.bytes.data(), int(sample.bytes.size()), width, height, bytesPerLine, 60);
    const double stepsMs = steps.conversionMs + steps.pixmapMs;
    const double stepsShare = stepsMs * framesPerSecond / 10.0;
    const double ratio = stepsShare > 0 ? cpuMedian / stepsShare : 0.0;
    QStringList verdicts;
    bool holds = true;
    if (targets.cpuPercent > 0) {
        verdicts << QString("≤ %1 %").arg(targets.cpuPercent);
        holds = holds && cpuMedian <= targets.cpuPercent;
    }
    if (targets.stepsRatio > 0) {
        verdicts << QString("≤ %1 × steps").arg(targets.stepsRatio);
        holds = holds && ratio <= targets.stepsRatio;
    }
    const QString verdict = verdicts.isEmpty() ? QString("no target")
                                               : verdicts.join(", ") + (holds ? ": holds" : ": **missed**");
    std::printf("cpu|| %s | %s | %.2f | %.1f %% | %.2f | %s |\n", qPrintable(config),
                qPrintable(spread(cpuShares, " %")), stepsMs, stepsShare, ratio, qPrintable(verdict));
    return 0;
}
