"""The arrays the module makes of the fixed frames of tests/frames are
those listed in tests/frames/pictures.txt, as tarvello-ctl's and the
window's pictures are (their tests read the same lists)."""

import hashlib
import pathlib

import numpy as np

from tarvello import _testing

FRAMES = pathlib.Path(__file__).resolve().parent.parent / "frames"


def listed(name):
    with open(FRAMES / name) as f:
        for line in f:
            line = line.strip()
            if line and not line.startswith("#"):
                yield line.split()


def frame_bytes(source, size):
    if source == "counting":
        return bytes((7 * i + 13 * (i // 97)) & 0xFF for i in range(size))
    return (FRAMES / source).read_bytes()


def test_every_format_gives_the_listed_array():
    expected = {(name, front_end): (layout, digest)
                for name, front_end, layout, digest in listed("pictures.txt")}
    wrong = []
    for name, fourcc, width, height, bytes_per_line, source in listed("frames.txt"):
        width, height, bytes_per_line = int(width), int(height), int(bytes_per_line)
        array = _testing.convert(fourcc, width, height, bytes_per_line,
                                 frame_bytes(source, bytes_per_line * height))
        layout = f"{array.dtype}:{'x'.join(str(n) for n in array.shape)}"
        digest = hashlib.sha256(np.ascontiguousarray(array).tobytes()).hexdigest()
        if expected.get((name, "python")) != (layout, digest):
            wrong.append(f"{name:<20} {'python':<7} {layout:<17} {digest}")
    assert not wrong, "made instead:\n" + "\n".join(wrong)
