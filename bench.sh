#!/usr/bin/env bash
# Builds an optimised build (RelWithDebInfo, no sanitizers) in build-bench/,
# runs every benchmark of bench/ and writes the results into
# bench/RESULTS.md, between its "generated" markers (the notes around them
# are kept).
#
# The live view is measured in the real application under a virtual X
# server (Xvfb) of its own. Times on a shared machine are only worth
# recording when it is quiet, so the script waits until the one-minute load
# average is below BENCH_MAX_LOAD before it measures.
#
# Settings (environment):
#   BENCH_SECONDS=30       length of each streaming run (and of each GStreamer measurement)
#   BENCH_RUNS=5           runs per streaming row; shown and CPU are their median
#   BENCH_FRAMES=10000     shown frames for the memory measurement
#   BENCH_DIALOGS=100      settings dialog openings for the memory measurement
#   BENCH_PUMP_ITERATIONS=150  timed ticks per format and size
#   BENCH_PYTHON_ROUNDS=7  rounds per format of the Python module against its C++ floor
#   BENCH_MAX_LOAD=0.7     wait for a lower load average before measuring
#   BENCH_WAIT_MINUTES=30  give up waiting after that long (and measure anyway, noting it)
#   BENCH_OUTPUT=bench/RESULTS.md
set -euo pipefail
cd "$(dirname "$0")"
top=$PWD

seconds=${BENCH_SECONDS:-30}
runs=${BENCH_RUNS:-5}
frames=${BENCH_FRAMES:-10000}
dialogs=${BENCH_DIALOGS:-100}
iterations=${BENCH_PUMP_ITERATIONS:-150}
python_rounds=${BENCH_PYTHON_ROUNDS:-7}
max_load=${BENCH_MAX_LOAD:-0.7}
wait_minutes=${BENCH_WAIT_MINUTES:-30}
output=${BENCH_OUTPUT:-bench/RESULTS.md}

scripts/install-deps.sh build gstreamer bench
cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTARVELLO_SANITIZE=OFF \
    -DTARVELLO_BUILD_TESTS=OFF -DTARVELLO_BUILD_BENCH=ON -DTARVELLO_BUILD_PYTHON=ON >/dev/null
cmake --build build-bench -j2 --target bench_virtualcamera bench_liveview tarvello_python bench_framecopy bench_waiting \
    bench_gst tarvello-serve

load1() { cut -d' ' -f1 /proc/loadavg; }
below() { awk -v a="$1" -v b="$2" 'BEGIN { exit !(a < b) }'; }
waited=0
until below "$(load1)" "$max_load"; do
    if [ "$waited" -ge $((wait_minutes * 60)) ]; then
        echo "bench: load still $(load1) after $wait_minutes minutes; measuring anyway" >&2
        break
    fi
    [ "$waited" -eq 0 ] && echo "bench: waiting for a quiet machine (load $(load1), want < $max_load)"
    sleep 15
    waited=$((waited + 15))
done
load_start=$(cut -d' ' -f1-3 /proc/loadavg)

# A virtual X server of our own, on a display nobody uses.
display=99
while [ -e "/tmp/.X11-unix/X$display" ] || [ -e "/tmp/.X$display-lock" ]; do display=$((display + 1)); done
Xvfb ":$display" -screen 0 1280x1024x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
trap 'kill "$xvfb" 2>/dev/null || true' EXIT
export DISPLAY=:$display
for _ in $(seq 100); do [ -e "/tmp/.X11-unix/X$display" ] && break; sleep 0.1; done
unset QT_QPA_PLATFORM
export IMAGEACQUISITION_VIRTUAL_CAMERAS=1

results=$(mktemp -d)
bindir=$top/build-bench/bench/liveview
# The application's serial console runs "./fuser": run beside the link to it.
liveview() { (cd "$bindir" && ./bench_liveview "$@"); }

echo "bench: frame pump"
liveview pump "$iterations" | tee "$results/pump"
echo "bench: streaming, $runs runs of ${seconds} s each"
liveview stream RGB3 1280x720 60 "$seconds" "$runs" 10 | tee "$results/stream-rgb3"
liveview stream MJPG 1920x1080 30 "$seconds" "$runs" 14 1.5 | tee "$results/stream-mjpg"
liveview stream MJPG 3840x2160 30 "$seconds" "$runs" 45 | tee "$results/stream-mjpg4k"
echo "bench: memory"
liveview frames MJPG 1920x1080 60 "$frames" | tee "$results/memory-frames"
liveview dialogs RGB3 1280x720 30 "$dialogs" | tee "$results/memory-dialogs"
echo "bench: virtual camera"
build-bench/bench/bench_virtualcamera 240 | tee "$results/virtualcamera"
build-bench/bench/bench_virtualcamera 120 3840x2160 | tee "$results/virtualcamera4k"
echo "bench: tarvello-ctl waiting for frames, $seconds s a run"
build-bench/bench/waiting/bench_waiting "$seconds" | tee "$results/waiting"
echo "bench: GStreamer element and RTSP server, $seconds s a measurement"
GST_REGISTRY=$results/gst-registry.bin build-bench/bench/gst/bench_gst "$seconds" build-bench/serve/tarvello-serve \
    | tee "$results/gst"
echo "bench: Python module, $python_rounds rounds per format"
/usr/bin/python3 bench/python/bench_frames.py build-bench 300 "$python_rounds" | tee "$results/python"
load_end=$(cut -d' ' -f1-3 /proc/loadavg)

# Rows of one table, in the order the runs were made, without the table's name.
rows() {
    local file
    for file in pump stream-rgb3 stream-mjpg stream-mjpg4k memory-frames memory-dialogs; do
        grep "^$1||" "$results/$file" | sed "s/^$1|//" || true
    done
}
cpu=$(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2- | sed 's/^ *//')
memory=$(awk '/MemTotal/ { printf "%.0f GiB", $2 / 1048576 }' /proc/meminfo)
version() { dpkg-query -W -f='${Version}' "$1" 2>/dev/null || echo unknown; }

generated=$results/generated.md
{
    echo "<!-- generated by ./bench.sh: everything up to the end marker is replaced on each run -->"
    echo "## Latest run"
    echo
    echo "- Machine: $(nproc) cores of ${cpu:-an unknown CPU}, $memory, Debian $(cat /etc/debian_version 2>/dev/null || echo '?'), kernel $(uname -r)"
    echo "- Software: Qt $(version libqt5core5a), libjpeg-turbo $(version libjpeg62-turbo), $(c++ --version | head -n 1)"
    echo "- Date: $(date -u '+%Y-%m-%d %H:%M UTC')"
    echo "- Command: \`./bench.sh\` (BENCH_SECONDS=$seconds BENCH_RUNS=$runs BENCH_FRAMES=$frames BENCH_DIALOGS=$dialogs BENCH_PUMP_ITERATIONS=$iterations BENCH_PYTHON_ROUNDS=$python_rounds)"
    echo "- Build: RelWithDebInfo (-O2 -g), no sanitizers, in build-bench/; X server: Xvfb, 1280x1024, 24 bits"
    echo "- Load average (1, 5, 15 min): $load_start at the start of the measurements, $load_end at the end"
    echo
    echo "### Frame pump: cost per shown frame"
    echo
    echo "Median of $iterations ticks per row; the camera replays one real picture, always ready."
    echo "The steps alone are timed in their best form: MJPG decoded into a reused picture (no"
    echo "allocation, no fresh pages), BGR3 swapped in one pass, the pixmap made and then scaled."
    echo
    rows pump
    echo
    echo "### Frames shown against frames delivered (virtual camera, $runs runs of $seconds s each)"
    echo
    echo "Shown / delivered is the median of the runs, the lowest and highest run in brackets; the counts are summed."
    echo
    echo "| Format | Size | Interval | runs × measured (s) | delivered | shown | shown / delivered | target ≥ 98 % |"
    echo "|---|---|---|---|---|---|---|---|"
    rows shown
    echo
    echo "### Latency from a frame's time stamp to its picture on the label (same runs)"
    echo
    echo "Over the frames of all runs together."
    echo
    echo "| Format | Size | Interval | median (ms) | p99 (ms) | target: period + 10 ms | verdict | median to the label's paint (ms) | getFrame median (ms) | empty ticks |"
    echo "|---|---|---|---|---|---|---|---|---|---|"
    rows latency
    echo
    echo "### Whole-process CPU while streaming (same runs)"
    echo
    echo "The process's share of one core is the median of the runs, the lowest and highest run in"
    echo "brackets. The unavoidable steps of a frame are timed alone on a frame of the stream: for"
    echo "MJPG the decode into a reused picture plus the scaling into the view and its pixmap, for"
    echo "raw formats the scaling and the pixmap; times the frame rate they are the least share"
    echo "of a core any live view of that stream needs, and the process is read as a ratio of it."
    echo
    echo "| Format | Size | Interval | share of one core | unavoidable steps (ms a frame) | their share of one core | process / steps | target |"
    echo "|---|---|---|---|---|---|---|---|"
    rows cpu
    echo
    echo "### Resident set growth"
    echo
    echo "Baseline after the first 1000 frames, or the first 5 dialogs; the resident set is read every 100 frames, or after each dialog."
    echo
    echo "| Run | RSS at start (KiB) | baseline after warm-up (KiB) | halfway (KiB) | at the end (KiB) | growth (KiB) | growth in the second half (KiB) | highest growth seen (KiB) | target ≤ 1 MB |"
    echo "|---|---|---|---|---|---|---|---|---|"
    rows memory
    echo
    echo "### Virtual camera: cost of a frame at 1920x1080 and at 3840x2160"
    echo
    echo "\"render\" is the frame renderer alone in steady state (put the kept background back"
    echo "where the last overlay was, draw the moving parts and, for MJPG, compress the cells"
    echo "that changed). \"getFrame\" is the camera's getFrame for frames that are due at the"
    echo "shortest interval of the size (60 per format), which adds the device state and buffer"
    echo "bookkeeping; the share is its median against that period. The last three columns"
    echo "are one-off costs: the renderer's very first frame (scene, lighting and format"
    echo "conversion all made), startStreaming (which makes them, so the first frame does"
    echo "not pay), and the first frame after a setting that changes the lighting."
    echo
    grep '^|' "$results/virtualcamera"
    grep '^|' "$results/virtualcamera4k" | tail -n +3
    echo
    echo "### Python module: frames into numpy at 1920x1080, 1/60 s"
    echo
    echo "CPU time of the taking thread per frame, medians of $python_rounds rounds of 300 frames, the module"
    echo "and the plain C++ loop (getFrame, copy or decode, releaseFrame; bench_framecopy, in the"
    echo "same process) taking turns; one frame's time runs from the end of the last, its wait included."
    echo "\"module adds\" is the median of the paired differences; the target is at most 10 % of the"
    echo "copy or decode alone."
    echo
    grep '^|' "$results/python"
    echo
    echo "### GStreamer: tarvellosrc and tarvello-serve (virtual camera, $seconds s a measurement)"
    echo
    echo "CPU of the whole process per frame; the plain loop is waitForFrame, getFrame, a copy into memory"
    echo "of its own (or the core's JPEG decode into RGB) and releaseFrame, in the same process, rounds"
    echo "taking turns. jpegdec decodes into I420, the core's decoder into RGB (a conversion more)."
    echo
    cat "$results/gst"
    echo
    echo "### tarvello-ctl waiting for frames (virtual camera, $seconds s a side)"
    echo
    echo "The command as a user runs it (in the benchmark's process) against a loop that sleeps until the"
    echo "instant each frame is ready and then does the same work (the statistics, or the recorder):"
    echo "CPU of the whole process as a share of one core, and how often it slept or was put aside"
    echo "(voluntary and involuntary context switches) a second. After an unmeasured second of each, the"
    echo "two take turns in 4 rounds, each going first in every other one; the ratio is of the sums, the"
    echo "rounds' own ratios in brackets. Then the time from a frame being ready"
    echo "(its time stamp) to the command's frame stream holding it, getFrame's own work included."
    echo
    cat "$results/waiting"
    echo "<!-- end of generated results -->"
} > "$generated"

if [ -f "$output" ] && grep -q '^<!-- generated by ./bench.sh' "$output" && grep -q '^<!-- end of generated results -->' "$output"; then
    awk -v file="$generated" '
        /^<!-- generated by .\/bench.sh/ { while ((getline line < file) > 0) print line; skip = 1; next }
        /^<!-- end of generated results -->/ { skip = 0; next }
        !skip { print }' "$output" > "$results/new.md"
else
    { echo "# Benchmark results"; echo; cat "$generated"; } > "$results/new.md"
fi
mv "$results/new.md" "$output"
rm -rf "$results"
echo "bench: results written to $output"
