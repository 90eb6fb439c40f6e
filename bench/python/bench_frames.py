"""Frames per second into numpy through the tarvello module, against the
copy (and decode) that any way of getting the frames must pay.

    BUILD=build-bench
    cmake -S . -B $BUILD -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTARVELLO_SANITIZE=OFF \\
          -DTARVELLO_BUILD_TESTS=OFF -DTARVELLO_BUILD_BENCH=ON -DTARVELLO_BUILD_PYTHON=ON
    cmake --build $BUILD -j2 --target tarvello_python bench_framecopy
    /usr/bin/python3 bench/python/bench_frames.py $BUILD [FRAMES [ROUNDS]]

For each format at 1920x1080 and 1/60 s from the virtual camera, FRAMES
frames (default 600) are taken in ROUNDS rounds (default 3) each way, the
two ways taking turns, with the median CPU time of the taking thread per
frame, and the median of the rounds (medians: the machine may be shared):
  - by bench_framecopy, in plain C++: getFrame, the copy (or the decode with
    libjpeg-turbo) into a buffer, releaseFrame; and the copy or decode alone;
  - through the module: next() on a Stream, which gives a numpy array.
What the module adds is the difference of the two loops; the target is at
most 10 % of the copy (and decode) alone. The frame rate is the camera's
(60 fps) as long as the loop keeps up; "capacity" is 1000 ms divided by the
module's CPU time per frame; "sleeps/frame" counts how often the waiting
thread slept per frame (one is the least a frame can cost).
"""

import os
import statistics
import subprocess
import sys
import time


def sleeps():
    """Voluntary context switches of this thread so far: how often it slept."""
    with open("/proc/thread-self/status") as f:
        for line in f:
            if line.startswith("voluntary_ctxt_switches:"):
                return int(line.split()[1])
    return 0


def load():
    with open("/proc/loadavg") as f:
        return " ".join(f.read().split()[:3])


def module_round(tarvello, fmt, frames):
    """One stream through the module: median CPU ms per frame, frames per
    second, sleeps per frame."""
    cam = tarvello.open(tarvello.cameras()[-1].index)
    with cam.stream(fmt=fmt, size=(1920, 1080), interval=(1, 60)) as stream:
        for _ in range(10):  # past the stream's start
            next(stream)
        wall, slept = time.monotonic(), sleeps()
        costs = []
        for _ in range(frames):
            cpu = time.thread_time()
            frame = next(stream)
            costs.append(time.thread_time() - cpu)
        wall = time.monotonic() - wall
        slept = (sleeps() - slept) / frames
    assert frame.array is not None
    return statistics.median(costs) * 1e3, frames / wall, slept


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    build = os.path.abspath(sys.argv[1])
    frames = int(sys.argv[2]) if len(sys.argv) > 2 else 600
    rounds = int(sys.argv[3]) if len(sys.argv) > 3 else 3
    os.environ.setdefault("IMAGEACQUISITION_VIRTUAL_CAMERAS", "1")
    sys.path.insert(0, os.path.join(build, "python"))
    import tarvello

    print(f"load average (1, 5, 15 min) at the start: {load()}")
    print()
    print("| Format | frames | fps into numpy | module CPU/frame (ms) | C++ loop CPU/frame (ms) "
          "| copy or decode alone (ms) | module adds (ms) | added / copy | target ≤ 10 % | capacity (fps) "
          "| sleeps/frame |")
    print("|---|---|---|---|---|---|---|---|---|---|---|")
    for fmt in ("RGB3", "BGR3", "GRBG", "MJPG"):
        loops, copies, modules, rates, slept = [], [], [], [], []
        for _ in range(rounds):
            floor = subprocess.run([os.path.join(build, "bench", "python", "bench_framecopy"), fmt, str(frames)],
                                   check=True, capture_output=True, text=True).stdout
            fields = dict(item.split("=") for item in floor.split())
            loops.append(float(fields["loop"]))
            copies.append(float(fields["copy"]))
            cpu, rate, sleeps_per_frame = module_round(tarvello, fmt, frames)
            modules.append(cpu)
            rates.append(rate)
            slept.append(sleeps_per_frame)
        loop_ms, copy_ms = statistics.median(loops), statistics.median(copies)
        cpu, slept = statistics.median(modules), statistics.median(slept)
        rate = statistics.median(rates)
        added = cpu - loop_ms
        share = added / copy_ms * 100
        verdict = "holds" if share <= 10 else "**missed**"
        print(f"| {fmt} | {frames} x {rounds} | {rate:.1f} | {cpu:.3f} | {loop_ms:.3f} | {copy_ms:.3f} "
              f"| {added:.3f} | {share:.1f} % | {verdict} | {1000 / cpu:.0f} | {slept:.2f} |")
    print()
    print(f"load average (1, 5, 15 min) at the end: {load()}")


if __name__ == "__main__":
    main()
