// The live view's benchmarks: the real application (tarvello_app) on the
// real camera layer with its virtual camera, seen through BenchFactory.
//
//   bench_liveview pump [ITERATIONS]
//   bench_liveview stream FOURCC WIDTHxHEIGHT FPS SECONDS [RUNS [CPU_TARGET_PERCENT [STEPS_RATIO_TARGET]]]
//   bench_liveview frames FOURCC WIDTHxHEIGHT FPS FRAMES
//   bench_liveview dialogs FOURCC WIDTHxHEIGHT FPS OPENINGS
//
// Each prints rows of Markdown tables, prefixed by the table's name and "||".
// Run under an X server (Xvfb): the window is shown as for a user.
#include "benchfactory.h"
#include "memorybench.h"
#include "pumpbench.h"
#include "streambench.h"

#include <QApplication>
#include <QStringList>

#include <cstdio>
#include <cstdlib>

namespace {

int usage()
{
    std::fprintf(stderr,
                 "usage: bench_liveview pump [ITERATIONS]\n"
                 "       bench_liveview stream FOURCC WIDTHxHEIGHT FPS SECONDS [RUNS [CPU_TARGET_PERCENT [STEPS_RATIO_TARGET]]]\n"
                 "       bench_liveview frames FOURCC WIDTHxHEIGHT FPS FRAMES\n"
                 "       bench_liveview dialogs FOURCC WIDTHxHEIGHT FPS OPENINGS\n");
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    setenv("IMAGEACQUISITION_VIRTUAL_CAMERAS", "1", 0);
    QApplication application(argc, argv);
    Q_INIT_RESOURCE(camera_ui_resources);
    const QStringList args = QApplication::arguments().mid(1);
    const QString command = args.value(0);

    if (command == "pump") {
        BenchFactory::instance().setReplay(true);
        return runPumpBench(args.size() > 1 ? args[1].toInt() : 150);
    }
    if (args.size() < 5)
        return usage();
    const QString fourcc = args[1];
    const QStringList size = args[2].split('x');
    const int width = size.value(0).toInt();
    const int height = size.value(1).toInt();
    const int fps = args[3].toInt();
    const int count = args[4].toInt();
    if (width <= 0 || height <= 0 || fps <= 0 || count <= 0)
        return usage();
    if (command == "stream") {
        const int runs = args.size() > 5 ? args[5].toInt() : 1;
        if (runs <= 0)
            return usage();
        return runStreamBench(fourcc, width, height, fps, count, runs,
                              {args.value(6).toDouble(), args.value(7).toDouble()});
    }
    if (command == "frames")
        return runFramesMemoryBench(fourcc, width, height, fps, count);
    if (command == "dialogs")
        return runDialogMemoryBench(fourcc, width, height, fps, count);
    return usage();
}
