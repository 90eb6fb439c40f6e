// Resident set growth, read from /proc/self/status (VmRSS). The baseline is
// taken once the stream, or the dialog, has been through its first runs:
// the allocator's arenas, the font and style caches and the camera's
// buffers are made then and stay; what grows after that is what the target
// is about. The value halfway tells a step (the heap settling once more)
// from a steady climb (a leak), which grows in both halves alike.
#include "memorybench.h"

#include "appdriver.h"
#include "monotonic.h"
#include "processmeter.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <cstdio>

namespace {

constexpr long kTargetKiB = 1024;

bool startStream(AppDriver& app, const QString& fourcc, int width, int height, int framesPerSecond)
{
    AppDriver::runFor(1500); // the serial console opens first
    if (app.select(fourcc, width, height, framesPerSecond) && app.start())
        return true;
    std::fprintf(stderr, "memory: cannot stream %s %dx%d at %d fps\n", qPrintable(fourcc), width, height,
                 framesPerSecond);
    return false;
}

const char* verdict(long growthKiB)
{
    return growthKiB <= kTargetKiB ? "holds" : "**missed**";
}

} // namespace

int runFramesMemoryBench(const QString& fourcc, int width, int height, int framesPerSecond, int frames)
{
    AppDriver app;
    const long atStart = ProcessMeter::residentKiB();
    if (!startStream(app, fourcc, width, height, framesPerSecond))
        return 1;
    // Long enough for the decoder's and the label's buffers to have settled
    // into the heap: at 60 fps about 17 s.
    const int warmUp = 1000;
    long baseline = 0;
    long halfway = 0;
    long highest = 0;
    int shown = 0;
    long long measuredFrom = 0;
    QEventLoop loop;
    QObject::connect(&app.window, &MainWindow::newImage, [&] {
        ++shown;
        if (shown == warmUp) {
            baseline = ProcessMeter::residentKiB();
            measuredFrom = monotonicNs();
        }
        if (shown == warmUp + frames / 2)
            halfway = ProcessMeter::residentKiB();
        if (shown > warmUp && shown % 100 == 0) {
            const long now = ProcessMeter::residentKiB();
            highest = std::max(highest, now);
            // The course of the resident set, for a look at how it grows.
            if (shown % 1000 == 0)
                std::fprintf(stderr, "frames: %d shown, resident %ld KiB\n", shown, now);
        }
        if (shown == warmUp + frames)
            loop.quit();
    });
    loop.exec();
    const long end = ProcessMeter::residentKiB();
    const double seconds = double(monotonicNs() - measuredFrom) / 1e9;
    app.stop();
    std::printf("memory|| %d shown frames, %s %dx%d at 1/%d (%.0f s) | %ld | %ld | %ld | %ld | %ld | %ld | %ld | %s |\n",
                frames, qPrintable(fourcc), width, height, framesPerSecond, seconds, atStart, baseline, halfway, end,
                end - baseline, end - halfway, std::max(highest, end) - baseline, verdict(end - baseline));
    return 0;
}

int runDialogMemoryBench(const QString& fourcc, int width, int height, int framesPerSecond, int openings)
{
    AppDriver app;
    const long atStart = ProcessMeter::residentKiB();
    if (!startStream(app, fourcc, width, height, framesPerSecond))
        return 1;
    AppDriver::runFor(1000);
    // Each dialog stays open for a few frames, which it paints behind its
    // page, and is then closed as the user closes it.
    QTimer closer;
    closer.setSingleShot(true);
    QObject::connect(&closer, &QTimer::timeout, [] {
        if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget()))
            dialog->close();
    });
    const int warmUp = 5;
    long baseline = 0;
    long halfway = 0;
    long highest = 0;
    QAction* settings = app.action("actionSettings");
    const long long started = monotonicNs();
    for (int i = 1; i <= warmUp + openings; ++i) {
        closer.start(150);
        settings->trigger(); // returns once the modal dialog has closed
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        AppDriver::runFor(50);
        const long now = ProcessMeter::residentKiB();
        if (i == warmUp)
            baseline = now;
        else if (i > warmUp)
            highest = std::max(highest, now);
        if (i == warmUp + openings / 2)
            halfway = now;
    }
    const double seconds = double(monotonicNs() - started) / 1e9;
    const long end = ProcessMeter::residentKiB();
    const bool streamed = app.isStreaming();
    app.stop();
    std::printf("memory|| %d settings dialogs while streaming %s %dx%d at 1/%d (%.0f s)%s | %ld | %ld | %ld | %ld "
                "| %ld | %ld | %ld | %s |\n",
                openings, qPrintable(fourcc), width, height, framesPerSecond, seconds,
                streamed ? "" : " (the stream had stopped)", atStart, baseline, halfway, end, end - baseline,
                end - halfway, std::max(highest, end) - baseline, verdict(end - baseline));
    return 0;
}
