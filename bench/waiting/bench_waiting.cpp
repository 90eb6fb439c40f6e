// What waiting for frames costs tarvello-ctl: its stats and record commands
// on a virtual camera against a loop that is woken exactly when each frame
// is ready and then does the same work (the statistics, or the recorder),
// in the same process, taking turns. Prints markdown rows.
//
// Usage: bench_waiting [SECONDS]
#include <commandoutput.h>
#include <ctlprogram.h>
#include <framestream.h>
#include <streamformat.h>
#include <streamstatistics.h>
#include <videorecorder.h>

#include <cameraselector.h>
#include <opencamera.h>

#include <imageacquisition/imageacquisition.h>

#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <sys/resource.h>
#include <vector>

using namespace ImageAcquisition;

namespace {

constexpr int kRounds = 4;

struct Usage
{
    double cpuSeconds = 0;
    long switches = 0; // voluntary and involuntary: every time the process slept or was put aside

    static Usage now()
    {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        Usage u;
        u.cpuSeconds = double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec)
                       + double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
        u.switches = usage.ru_nvcsw + usage.ru_nivcsw;
        return u;
    }
    Usage operator-(const Usage& other) const { return {cpuSeconds - other.cpuSeconds, switches - other.switches}; }
    Usage operator+(const Usage& other) const { return {cpuSeconds + other.cpuSeconds, switches + other.switches}; }
};

long long monotonicNs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000000000LL + now.tv_nsec;
}

long long stampNs(const IFrame& frame)
{
    const IFrame::TimeStamp stamp = frame.getTimeStamp();
    return stamp.seconds * 1000000000LL + stamp.microseconds * 1000LL;
}

struct Scenario
{
    QString command; // stats or record
    QString fourcc;
    QString size;
    QString interval;
};

QStringList formatArguments(const Scenario& s)
{
    return {"--format", s.fourcc, "--size", s.size, "--interval", s.interval};
}

// The command as a user runs it, in this process.
Usage runCommand(const Scenario& s, const QString& serial, double seconds, const QString& folder)
{
    QString out;
    QString err;
    CommandOutput output(&out, &err);
    QStringList arguments{"tarvello-ctl", s.command, "-d", serial, "--duration", QString::number(seconds)};
    if (s.command == "record")
        arguments << "-o" << folder + "/command.mkv";
    const Usage before = Usage::now();
    const int status = CtlProgram().run(arguments + formatArguments(s), output);
    const Usage used = Usage::now() - before;
    if (status != 0)
        std::fprintf(stderr, "bench_waiting: %s failed (%d): %s\n", qPrintable(s.command), status, qPrintable(err));
    return used;
}

// The same work from a loop that sleeps until the instant the next frame
// is ready (the virtual camera's time stamp is that instant) and takes it:
// opening the camera, starting and stopping the stream and finishing the
// file included, as the command's run includes them.
Usage runExactLoop(const Scenario& s, const QString& serial, double seconds, const QString& folder,
                   std::vector<double>* latenciesMs)
{
    const Usage before = Usage::now();
    const Tarvello::OpenCamera open(serial);
    QCommandLineParser parser;
    StreamFormat::addOptions(parser);
    parser.parse(QStringList{"x"} + formatArguments(s));
    const StreamFormat format = StreamFormat::choose(open.camera(), parser);
    const long long periodNs = 1000000000LL * format.numerator / format.denominator;
    StreamStatistics statistics(format.nominalRate());
    std::unique_ptr<VideoRecorder> recorder;
    if (s.command == "record")
        recorder = std::make_unique<VideoRecorder>(folder + "/loop.mkv", format);
    IStreamingCamera& camera = open.camera();
    camera.allocateBuffers(4);
    camera.startStreaming();
    const long long end = monotonicNs() + static_cast<long long>(seconds * 1e9);
    long long due = monotonicNs() + periodNs;
    while (monotonicNs() < end) {
        const timespec at{time_t(due / 1000000000LL), long(due % 1000000000LL)};
        clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &at, nullptr);
        IFrame* frame = camera.getFrame();
        if (frame->isEmpty()) {
            camera.releaseFrame(frame);
            due += 50000; // a hair early: look again in 50 us
            continue;
        }
        if (latenciesMs)
            latenciesMs->push_back(double(monotonicNs() - stampNs(*frame)) / 1e6);
        if (recorder)
            recorder->write(frame->getData(), frame->getSize(), stampNs(*frame) / 1000);
        else
            statistics.add(frame->getFrameNumber(), double(stampNs(*frame)) / 1e9, frame->getSize() > 0);
        due = stampNs(*frame) + periodNs;
        camera.releaseFrame(frame);
    }
    camera.stopStreaming();
    camera.releaseBuffers();
    if (recorder)
        recorder->finish();
    return Usage::now() - before;
}

// The command's own way of waiting (FrameStream, as stats and record use
// it): from a frame being ready to the command holding it.
std::vector<double> commandLatencies(const Scenario& s, const QString& serial, double seconds)
{
    const Tarvello::OpenCamera open(serial);
    QCommandLineParser parser;
    StreamFormat::addOptions(parser);
    parser.parse(QStringList{"x"} + formatArguments(s));
    const StreamFormat format = StreamFormat::choose(open.camera(), parser);
    std::vector<double> latencies;
    FrameStream stream(open.camera(), open.entry().node, format.nominalRate());
    const long long end = monotonicNs() + static_cast<long long>(seconds * 1e9);
    while (monotonicNs() < end) {
        if (IFrame* frame = stream.next(stream.patienceMs())) {
            latencies.push_back(double(monotonicNs() - stampNs(*frame)) / 1e6);
            stream.release(frame);
        }
    }
    return latencies;
}

double percentile(std::vector<double> values, double p)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, size_t(p * double(values.size() - 1) + 0.5))];
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const double seconds = argc > 1 ? std::max(1.0, std::atof(argv[1])) : 10.0;
    qputenv("IMAGEACQUISITION_VIRTUAL_CAMERAS", "1");
    const QVector<Tarvello::CameraEntry> cameras = Tarvello::CameraSelector::presentCameras();
    if (cameras.isEmpty()) {
        std::fprintf(stderr, "bench_waiting: no virtual camera\n");
        return 1;
    }
    const QString serial = cameras.last().serial;
    QTemporaryDir folder;

    const Scenario scenarios[] = {
        {"stats", "MJPG", "320x240", "1/15"},
        {"stats", "MJPG", "1920x1080", "1/30"},
        {"record", "MJPG", "320x240", "1/15"},
        {"record", "MJPG", "1920x1080", "1/30"},
    };
    std::printf("| Command | Format | Size | Interval | command CPU (%% of a core) | exact-wake loop CPU | "
                "command / loop [lowest, highest round] | target <= 1.1 | command wake-ups a second | loop wake-ups a second |\n");
    std::printf("|---|---|---|---|---|---|---|---|---|---|\n");
    for (const Scenario& s : scenarios) {
        // Whatever runs first pays what a process and a stream pay once
        // (the camera's scene and lighting, the encoder's tables, pages
        // faulted in): both sides warm up unmeasured, then take turns,
        // each going first in every other round.
        runCommand(s, serial, 1, folder.path());
        runExactLoop(s, serial, 1, folder.path(), nullptr);
        Usage command;
        Usage loop;
        std::vector<double> ratios;
        for (int round = 0; round < kRounds; ++round) {
            const double part = seconds / kRounds;
            Usage c;
            Usage l;
            if (round % 2 == 0) {
                c = runCommand(s, serial, part, folder.path());
                l = runExactLoop(s, serial, part, folder.path(), nullptr);
            } else {
                l = runExactLoop(s, serial, part, folder.path(), nullptr);
                c = runCommand(s, serial, part, folder.path());
            }
            command = command + c;
            loop = loop + l;
            if (l.cpuSeconds > 0)
                ratios.push_back(c.cpuSeconds / l.cpuSeconds);
        }
        const double ratio = loop.cpuSeconds > 0 ? command.cpuSeconds / loop.cpuSeconds : 0;
        std::sort(ratios.begin(), ratios.end());
        std::printf("| %s | %s | %s | %s | %.2f | %.2f | %.2f [%.2f, %.2f] | %s | %.1f | %.1f |\n",
                    qPrintable(s.command), qPrintable(s.fourcc), qPrintable(s.size), qPrintable(s.interval),
                    100 * command.cpuSeconds / seconds, 100 * loop.cpuSeconds / seconds, ratio,
                    ratios.empty() ? 0.0 : ratios.front(), ratios.empty() ? 0.0 : ratios.back(),
                    ratio <= 1.1 ? "holds" : "**missed**",
                    double(command.switches) / seconds, double(loop.switches) / seconds);
        std::fflush(stdout);
    }

    std::printf("\n| Format | Size | Interval | frames | command median (ms) | command p99 (ms) | target median <= 0.5 | "
                "exact-wake loop median (ms) |\n");
    std::printf("|---|---|---|---|---|---|---|---|\n");
    for (const Scenario& s : {scenarios[0], scenarios[1]}) {
        const std::vector<double> command = commandLatencies(s, serial, seconds);
        std::vector<double> loop;
        runExactLoop(s, serial, seconds, folder.path(), &loop);
        const double median = percentile(command, 0.5);
        std::printf("| %s | %s | %s | %zu | %.3f | %.3f | %s | %.3f |\n", qPrintable(s.fourcc), qPrintable(s.size),
                    qPrintable(s.interval), command.size(), median, percentile(command, 0.99),
                    median <= 0.5 ? "holds" : "**missed**", percentile(loop, 0.5));
        std::fflush(stdout);
    }
    return 0;
}
