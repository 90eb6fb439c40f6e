"""Frames per second into numpy through the tarvello module, against the
copy (and decode) that any way of getting the frames must pay.

    BUILD=build-bench
    cmake -S . -B $BUILD -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTARVELLO_SANITIZE=OFF \\
          -DTARVELLO_BUILD_TESTS=OFF -DTARVELLO_BUILD_BENCH=ON -DTARVELLO_BUILD_PYTHON=ON
    cmake --build $BUILD -j2 --target tarvello_python bench_framecopy
    /usr/bin/python3 bench/python/bench_frames.py $BUILD [FRAMES [ROUNDS]]

(./bench.sh runs it too.) For each format at 1920x1080 and 1/60 s from the
virtual camera, FRAMES frames (default 300) are taken in ROUNDS rounds
(default 7) each way, the two ways taking turns in this one process, with
the median CPU time of the taking thread per frame:
  - by the C++ loop of bench_framecopy (loaded with ctypes): getFrame, the
    copy (or the decode with libjpeg-turbo) into a buffer, releaseFrame;
    and the copy or decode alone;
  - through the module: next() on a Stream, which gives a numpy array.
What the module adds is the module's round minus the C++ round before it;
the table gives the median of those differences with the lowest and
highest, and the target is at most 10 % of the copy (and decode) alone.
The frame rate is the camera's (60 fps) as long as the loop keeps up;
"capacity" is 1000 ms divided by the module's CPU time per frame;
"sleeps/frame" counts how often the waiting thread slept per frame (one is
the least a frame can cost).
"""

import ctypes
import os
import statistics
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


def floor_round(library, fmt, frames):
    """One round of the C++ loop: (loop, copy) median CPU ms per frame."""
    loop, copy = ctypes.c_double(), ctypes.c_double()
    if library.tarvello_bench_framecopy(fmt.encode(), frames, ctypes.byref(loop), ctypes.byref(copy)) != 0:
        sys.exit(f"bench_frames: the C++ loop cannot stream {fmt} at 1920x1080 1/60 s")
    return loop.value, copy.value


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    build = os.path.abspath(sys.argv[1])
    frames = int(sys.argv[2]) if len(sys.argv) > 2 else 300
    rounds = int(sys.argv[3]) if len(sys.argv) > 3 else 7
    os.environ.setdefault("IMAGEACQUISITION_VIRTUAL_CAMERAS", "1")
    sys.path.insert(0, os.path.join(build, "python"))
    import tarvello

    library = ctypes.CDLL(os.path.join(build, "bench", "python", "bench_framecopy.so"))
    library.tarvello_bench_framecopy.argtypes = [ctypes.c_char_p, ctypes.c_int, ctypes.POINTER(ctypes.c_double),
                                                 ctypes.POINTER(ctypes.c_double)]

    print(f"load average (1, 5, 15 min) at the start: {load()}")
    print()
    print("| Format | rounds × frames | fps into numpy | module CPU/frame (ms) | C++ loop CPU/frame (ms) "
          "| copy or decode alone (ms) | module adds (ms) [lowest, highest] | added / copy | target ≤ 10 % "
          "| capacity (fps) | sleeps/frame |")
    print("|---|---|---|---|---|---|---|---|---|---|---|")
    for fmt in ("RGB3", "BGR3", "GRBG", "MJPG"):
        loops, copies, modules, added, rates, slept = [], [], [], [], [], []
        for _ in range(rounds):
            loop_ms, copy_ms = floor_round(library, fmt, frames)
            cpu, rate, sleeps_per_frame = module_round(tarvello, fmt, frames)
            loops.append(loop_ms)
            copies.append(copy_ms)
            modules.append(cpu)
            added.append(cpu - loop_ms)
            rates.append(rate)
            slept.append(sleeps_per_frame)
        copy_ms = statistics.median(copies)
        cpu = statistics.median(modules)
        adds = statistics.median(added)
        share = adds / copy_ms * 100
        verdict = "holds" if share <= 10 else "**missed**"
        print(f"| {fmt} | {rounds} × {frames} | {statistics.median(rates):.1f} | {cpu:.3f} "
              f"| {statistics.median(loops):.3f} | {copy_ms:.3f} | {adds:.3f} [{min(added):.3f}, {max(added):.3f}] "
              f"| {share:.1f} % | {verdict} | {1000 / cpu:.0f} | {statistics.median(slept):.2f} |")
    print()
    print(f"load average (1, 5, 15 min) at the end: {load()}")


if __name__ == "__main__":
    main()
