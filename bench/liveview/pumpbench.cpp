// The frame pump's cost per shown frame against the sum of the steps no
// implementation can skip (StepCost), measured alone in the same process on
// the same picture.
//
// The camera replays one real picture (BenchCamera), so a tick costs the
// application's work only. The window's own timer is stopped and the ticks
// are invoked directly, each timed alone; the label's repaint that a tick
// schedules runs between the timed parts.
#include "pumpbench.h"

#include "appdriver.h"
#include "benchcamera.h"
#include "monotonic.h"
#include "samples.h"
#include "stepcost.h"

#include <QApplication>
#include <QTimer>

#include <cstdio>

namespace {

int bytesPerLineOf(const QString& fourcc, int width)
{
    return fourcc == "GRBG" ? width : fourcc == "MJPG" ? 0 : width * 3;
}

} // namespace

int runPumpBench(int iterations)
{
    AppDriver app;
    QTimer* timer = nullptr;
    for (QTimer* t : app.window.findChildren<QTimer*>(QString(), Qt::FindDirectChildrenOnly))
        timer = t; // the refresh timer is the window's only direct timer child
    const QString formats[] = {"RGB3", "BGR3", "GRBG", "MJPG"};
    const QSize sizes[] = {{640, 480}, {1280, 720}, {1920, 1080}, {3840, 2160}};

    std::printf("pump|| Format | Size | whole tick (ms) | decode or swap alone (ms) | pixmap + scaling alone (ms) "
                "| sum of the steps (ms) | ratio | target ≤ 1.3 |\n");
    std::printf("pump||---|---|---|---|---|---|---|---|\n");
    for (const QSize& size : sizes) {
        for (const QString& fourcc : formats) {
            if (!app.select(fourcc, size.width(), size.height(), 30) || !app.start() || !timer) {
                std::fprintf(stderr, "pump: cannot stream %s %dx%d\n", qPrintable(fourcc), size.width(),
                             size.height());
                return 1;
            }
            timer->stop();
            BenchCamera* camera = BenchCamera::current();
            std::vector<double> ticks, conversions, pixmaps;
            StepCost stepCost;
            const int warmUp = 10;
            for (int i = 0; i < warmUp + iterations; ++i) {
                // Alternate the order, so that neither side always finds the
                // caches the other one left.
                const ReplayFrame& frame = camera->replayed();
                const auto measureSteps = [&] {
                    return stepCost.measure(fourcc, frame.getData(), frame.getSize(), size.width(), size.height(),
                                            bytesPerLineOf(fourcc, size.width()));
                };
                StepCost::Times steps;
                if (i % 2)
                    steps = measureSteps();
                const long long start = monotonicNs();
                QMetaObject::invokeMethod(&app.window, "refreshSlot", Qt::DirectConnection);
                const double tickMs = double(monotonicNs() - start) / 1e6;
                QApplication::processEvents();
                if (i % 2 == 0)
                    steps = measureSteps();
                if (i < warmUp)
                    continue;
                ticks.push_back(tickMs);
                conversions.push_back(steps.conversionMs);
                pixmaps.push_back(steps.pixmapMs);
            }
            app.stop();
            const double tick = median(ticks);
            const double sum = median(conversions) + median(pixmaps);
            const double ratio = tick / sum;
            std::printf("pump|| %s | %dx%d | %.2f | %.2f | %.2f | %.2f | %.2f | %s |\n", qPrintable(fourcc),
                        size.width(), size.height(), tick, median(conversions), median(pixmaps), sum, ratio,
                        ratio <= 1.3 ? "holds" : "**missed**");
            std::fflush(stdout);
        }
    }
    return 0;
}
