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
//    wall time of the measurement.
#include "streambench.h"

#include "appdriver.h"
#include "frametap.h"
#include "monotonic.h"
#include "processmeter.h"
#include "samples.h"

#include <QEvent>
#include <QLabel>
#include <QTimer>

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
    std::vector<double> latenciesMs;
};

} // namespace

int runStreamBench(const QString& fourcc, int width, int height, int framesPerSecond, int seconds,
                   double cpuTargetPercent)
{
    AppDriver app;
    // Let the serial console open first: it asks fuser, which blocks the window a moment.
    AppDriver::runFor(1500);
    if (!app.select(fourcc, width, height, framesPerSecond) || !app.start()) {
        std::fprintf(stderr, "stream: cannot stream %s %dx%d at %d fps\n", qPrintable(fourcc), width, height,
                     framesPerSecond);
        return 1;
    }

    Window window;
    PaintWatch paints;
    app.image->installEventFilter(&paints);
    QObject::connect(&app.window, &MainWindow::newImage, [&window, &paints] {
        const long long now = monotonicNs();
        const FrameTap& tap = FrameTap::instance();
        if (!window.open || !tap.holding)
            return;
        if (window.shown == 0)
            window.firstNumber = tap.number;
        window.lastNumber = tap.number;
        ++window.shown;
        window.latenciesMs.push_back(double(now - nanosecondsOf(tap.stamp)) / 1e6);
        paints.pendingStampNs = nanosecondsOf(tap.stamp);
    });

    AppDriver::runFor(2000); // warm-up
    FrameTap& tap = FrameTap::instance();
    tap.getFrameMs.clear();
    tap.getFrameMs.reserve(size_t(seconds) * size_t(framesPerSecond) * 2);
    tap.timeGetFrame = true;
    const unsigned long long emptyBefore = tap.emptyFrames;
    paints.latenciesMs.clear();
    window.open = true;
    const double cpuStart = ProcessMeter::cpuSeconds();
    const long long wallStart = monotonicNs();
    // The share in slices of 10 s as well: on a shared machine a single
    // share hides how much it moves from one stretch to the next.
    std::vector<double> sliceShares;
    double sliceCpu = cpuStart;
    long long sliceWall = wallStart;
    QTimer slices;
    QObject::connect(&slices, &QTimer::timeout, [&] {
        const double cpuNow = ProcessMeter::cpuSeconds();
        const long long wallNow = monotonicNs();
        sliceShares.push_back(100.0 * (cpuNow - sliceCpu) / (double(wallNow - sliceWall) / 1e9));
        sliceCpu = cpuNow;
        sliceWall = wallNow;
    });
    slices.start(10000);
    AppDriver::runFor(seconds * 1000);
    slices.stop();
    const double cpu = ProcessMeter::cpuSeconds() - cpuStart;
    const double wall = double(monotonicNs() - wallStart) / 1e9;
    window.open = false;
    app.stop();

    const unsigned long long delivered = window.shown ? window.lastNumber - window.firstNumber + 1 : 0;
    const double shownShare = delivered ? 100.0 * double(window.shown) / double(delivered) : 0.0;
    const double periodMs = 1000.0 / framesPerSecond;
    const double latencyMedian = median(window.latenciesMs);
    const double latencyP99 = percentile(window.latenciesMs, 99);
    const double latencyTarget = periodMs + 10.0;
    const double cpuShare = 100.0 * cpu / wall;
    const QString config = QString("%1 | %2x%3 | 1/%4").arg(fourcc).arg(width).arg(height).arg(framesPerSecond);

    std::printf("shown|| %s | %.0f | %llu | %llu | %.2f %% | %s |\n", qPrintable(config), wall, delivered,
                window.shown, shownShare, shownShare >= 98.0 ? "holds" : "**missed**");
    std::printf("latency|| %s | %.1f | %.1f | %.1f | %s | %.1f | %.2f | %llu |\n", qPrintable(config),
                latencyMedian, latencyP99, latencyTarget,
                latencyMedian <= latencyTarget && latencyP99 <= latencyTarget ? "holds" : "**missed**",
                median(paints.latenciesMs), median(tap.getFrameMs), tap.emptyFrames - emptyBefore);
    const QString verdict = cpuTargetPercent <= 0 ? QString("no target")
                            : cpuShare <= cpuTargetPercent ? QString("≤ %1 %: holds").arg(cpuTargetPercent)
                                                           : QString("≤ %1 %: **missed**").arg(cpuTargetPercent);
    const auto range = std::minmax_element(sliceShares.begin(), sliceShares.end());
    const QString sliceText = sliceShares.empty() ? QString("-")
                                                  : QString("%1 to %2 %").arg(*range.first, 0, 'f', 1).arg(*range.second, 0, 'f', 1);
    std::printf("cpu|| %s | %.1f | %.1f | %.1f %% | %s | %s |\n", qPrintable(config), cpu, wall, cpuShare,
                qPrintable(sliceText), qPrintable(verdict));
    return 0;
}
