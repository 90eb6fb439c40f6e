// The frame pump's cost per shown frame against the sum of the steps no
// implementation can skip, measured alone in the same process on the same
// picture: for MJPG the JPEG decode, for BGR3 the red/blue swap into a new
// picture (the pump's specified conversion), and for all formats the
// conversion to a pixmap with the fast scaling into the 640x480 view.
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

#include <QApplication>
#include <QPixmap>
#include <QTimer>

#include <cstdio>

namespace {

const QSize kViewSize(640, 480);

struct Steps
{
    double conversionMs = 0; // decode or swap; 0 where the picture wraps the frame
    double pixmapMs = 0;
};

// The unavoidable steps on the replayed picture, each in its best form.
Steps measureStepsAlone(const QString& fourcc, const ReplayFrame& frame, int width, int height, int bytesPerLine)
{
    Steps steps;
    const long long start = monotonicNs();
    QImage picture;
    if (fourcc == "MJPG") {
        picture = QImage::fromData(frame.getData(), frame.getSize(), "MJPG");
    } else if (fourcc == "BGR3") {
        const QImage wrapped(frame.getData(), width, height, bytesPerLine, QImage::Format_RGB888);
        picture = wrapped.rgbSwapped();
    } else {
        picture = QImage(frame.getData(), width, height, bytesPerLine,
                         fourcc == "GRBG" ? QImage::Format_Grayscale8 : QImage::Format_RGB888);
    }
    const long long converted = monotonicNs();
    const QPixmap shown = QPixmap::fromImage(picture).scaled(kViewSize, Qt::KeepAspectRatio, Qt::FastTransformation);
    const long long scaled = monotonicNs();
    if (fourcc == "MJPG" || fourcc == "BGR3")
        steps.conversionMs = double(converted - start) / 1e6;
    steps.pixmapMs = double(scaled - converted) / 1e6;
    if (shown.isNull())
        std::fprintf(stderr, "pump: %s gave no picture\n", qPrintable(fourcc));
    return steps;
}

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
    const QSize sizes[] = {{640, 480}, {1280, 720}, {1920, 1080}};

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
            const int warmUp = 10;
            for (int i = 0; i < warmUp + iterations; ++i) {
                // Alternate the order, so that neither side always finds the
                // caches the other one left.
                Steps steps;
                if (i % 2)
                    steps = measureStepsAlone(fourcc, camera->replayed(), size.width(), size.height(),
                                              bytesPerLineOf(fourcc, size.width()));
                const long long start = monotonicNs();
                QMetaObject::invokeMethod(&app.window, "refreshSlot", Qt::DirectConnection);
                const double tickMs = double(monotonicNs() - start) / 1e6;
                QApplication::processEvents();
                if (i % 2 == 0)
                    steps = measureStepsAlone(fourcc, camera->replayed(), size.width(), size.height(),
                                              bytesPerLineOf(fourcc, size.width()));
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
