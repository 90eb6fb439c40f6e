"""Frames per second into numpy through the tarvello module, against the
copy (and decode) that any way of getting the frames must pay.

    BUILD=build-bench
    cmake -S . -B $BUILD -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTARVELLO_SANITIZE=OFF \\
          -DTARVELLO_BUILD_TESTS=OFF -DTARVELLO_BUILD_BENCH=ON -DTARVELLO_BUILD_PYTHON=ON
    cmake --build $BUILD -j2 --target tarvello_python bench_framecopy
    /usr/bin/python3 bench/python/bench_frames.py $BUILD [FRAMES]

For each format at 1920x1080 and 1/60 s from the virtual camera, FRAMES
frames (default 600) are taken twice, with the CPU time of the taking
thread per frame:
  - by bench_framecopy, in plain C++: getFrame, the copy (or the decode with
    libjpeg-turbo) into a buffer, releaseFrame; and the copy or decode alone;
  - through the module: next() on a Stream, which gives a numpy array.
What the module adds is the difference of the two loops; the target is at
most 10 % of the copy (and decode) alone. The frame rate is the camera's
(60 fps) as long as the loop keeps up; "capacity" is 1000 ms divided by the
module's CPU time per frame.
"""

import os
import subprocess
import sys
import time


def load():
    with open("/proc/loadavg") as f:
        return " ".join(f.read().split()[:3])


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    build = os.path.abspath(sys.argv[1])
    frames = int(sys.argv[2]) if len(sys.argv) > 2 else 600
    os.environ.setdefault("IMAGEACQUISITION_VIRTUAL_CAMERAS", "1")
    sys.path.insert(0, os.path.join(build, "python"))
    import tarvello

    print(f"load average (1, 5, 15 min) at the start: {load()}")
    print()
    print("| Format | frames | fps into numpy | module CPU/frame (ms) | C++ loop CPU/frame (ms) "
          "| copy or decode alone (ms) | module adds (ms) | added / copy | target ≤ 10 % | capacity (fps) |")
    print("|---|---|---|---|---|---|---|---|---|---|")
    for fmt in ("RGB3", "BGR3", "GRBG", "MJPG"):
        floor = subprocess.run([os.path.join(build, "bench", "python", "bench_framecopy"), fmt, str(frames)],
                               check=True, capture_output=True, text=True).stdout
        fields = dict(item.split("=") for item in floor.split())
        loop_ms, copy_ms = float(fields["loop"]), float(fields["copy"])

        cam = tarvello.open(tarvello.cameras()[-1].index)
        with cam.stream(fmt=fmt, size=(1920, 1080), interval=(1, 60)) as stream:
            for _ in range(10):  # past the stream's start
                next(stream)
            wall, cpu = time.monotonic(), time.thread_time()
            for _ in range(frames):
                frame = next(stream)
            cpu = (time.thread_time() - cpu) * 1e3 / frames
            wall = time.monotonic() - wall
        assert frame.array is not None
        del cam

        added = cpu - loop_ms
        share = added / copy_ms * 100
        verdict = "holds" if share <= 10 else "**missed**"
        print(f"| {fmt} | {frames} | {frames / wall:.1f} | {cpu:.3f} | {loop_ms:.3f} | {copy_ms:.3f} "
              f"| {added:.3f} | {share:.1f} % | {verdict} | {1000 / cpu:.0f} |")
    print()
    print(f"load average (1, 5, 15 min) at the end: {load()}")


if __name__ == "__main__":
    main()
