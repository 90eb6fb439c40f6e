"""Frames into numpy from the virtual camera's test picture."""

import sys
import threading
import time

import numpy as np
import pytest

import tarvello
from tarvello import _testing

W, H = 320, 240
# A pixel of the second colour bar (75 % yellow) of the test picture.
BAR_X, BAR_Y = W * 3 // 14, H * 2 // 5
YELLOW = (191, 191, 0)


def one_frame(camera, fmt, **options):
    return camera.grab(1, fmt=fmt, size=(W, H), interval=(1, 60), **options)[0]


def test_every_format_gives_its_array(camera):
    rgb = one_frame(camera, "RGB3")
    assert (rgb.format, rgb.width, rgb.height, rgb.data) == ("RGB3", W, H, None)
    assert rgb.array.shape == (H, W, 3) and rgb.array.dtype == np.uint8
    assert tuple(rgb.array[BAR_Y, BAR_X]) == YELLOW

    # BGR3 keeps the camera's byte order: blue, green, red.
    bgr = one_frame(camera, "BGR3").array
    assert bgr.shape == (H, W, 3)
    assert tuple(bgr[BAR_Y, BAR_X]) == YELLOW[::-1]
    assert np.array_equal(bgr[:H // 2, :, ::-1], rgb.array[:H // 2])

    # GRBG: green and red on even rows, blue and green on odd ones.
    mosaic = one_frame(camera, "GRBG").array
    assert mosaic.shape == (H, W) and mosaic.dtype == np.uint8
    y, x = BAR_Y - BAR_Y % 2, BAR_X - BAR_X % 2
    assert mosaic[y:y + 2, x:x + 2].tolist() == [[191, 191], [0, 191]]

    assert one_frame(camera, "YUYV").array.shape == (H, W, 2)

    jpeg = one_frame(camera, "MJPG").array
    assert jpeg.shape == (H, W, 3)
    assert np.abs(jpeg[BAR_Y, BAR_X].astype(int) - YELLOW).max() < 16


def test_undecoded_frames_carry_the_delivered_bytes(camera):
    frame = one_frame(camera, "MJPG", decode=False)
    assert frame.array is None and frame.data.startswith(b"\xff\xd8")
    assert tarvello.decode_jpeg(frame.data).shape == (H, W, 3)
    raw = one_frame(camera, "RGB3", decode=False)
    assert len(raw.data) == W * H * 3
    with pytest.raises(ValueError, match="JPEG"):
        tarvello.decode_jpeg(b"not a picture")
    # A damaged header claiming 65000x65000 pixels is not believed.
    sof = frame.data.index(b"\xff\xc0")
    huge = frame.data[:sof + 5] + b"\xfd\xe8\xfd\xe8" + frame.data[sof + 9:]
    with pytest.raises(ValueError, match="impossible size"):
        tarvello.decode_jpeg(huge)


def test_stream_is_a_context_manager_and_iterator(camera):
    with camera.stream(fmt="RGB3", size=(W, H), interval=(1, 60)) as s:
        assert (s.format, s.size) == ("RGB3", (W, H))
        numbers = [frame.number for frame, _ in zip(s, range(5))]
        assert numbers == sorted(set(numbers))
        # One stream at a time, and the format is fixed while it runs.
        with pytest.raises(tarvello.Refused):
            camera.stream()
        with pytest.raises(tarvello.Refused):
            camera.set_format(size=(640, 480))
    assert s.closed and list(s) == []
    assert camera.format == ("RGB3", (W, H), (1, 60))
    # Any case; the size and interval in force stay where the new format offers them.
    camera.set_format(fmt="mjpg")
    assert camera.format == ("MJPG", (W, H), (1, 60))


def test_arrays_still_held_are_never_written_again(camera):
    with camera.stream(fmt="RGB3", size=(W, H), interval=(1, 60)) as s:
        kept = next(s).array
        view = next(s).array[::2, ::3]  # the frame is gone, its view is not
        kept_then, view_then = kept.copy(), view.copy()
        addresses = {next(s).array.ctypes.data for _ in range(8)}
        assert np.array_equal(kept, kept_then) and np.array_equal(view, view_then)
        # Arrays nobody holds any more are written again: no fresh memory each frame.
        assert len(addresses) <= 2
        assert kept.ctypes.data not in addresses


def test_bad_stream_arguments_are_refused_clearly(camera):
    with pytest.raises(ValueError, match="320x240"):
        camera.stream(fmt="RGB3", size=(333, 333))
    with pytest.raises(ValueError, match="each from 1"):
        camera.stream(fmt="RGB3", size=(-640, 480))
    with pytest.raises(ValueError, match="has no format 'XXXX'"):
        camera.stream(fmt="XXXX")
    with pytest.raises(ValueError, match="timeout"):
        camera.stream(timeout=0)
    # A frame due every 133 ms cannot come within 10 ms.
    with camera.stream(size=(W, H), interval=(2, 15), timeout=0.01) as s:
        with pytest.raises(TimeoutError):
            next(s)


def test_unplugging_ends_the_stream(camera, plugged):
    _, index = plugged
    got = []
    with pytest.raises(tarvello.CameraGone, match="unplugged"):
        with camera.stream(fmt="MJPG", size=(W, H), timeout=3) as s:
            for frame in s:
                got.append(frame.number)
                if len(got) == 2:
                    assert _testing.unplug(index)
    assert len(got) == 2
    brightness = camera.controls["Brightness"]
    for reaches_the_camera in (camera.stream, camera.reset, camera.save_profile, brightness.refresh,
                               lambda: setattr(brightness, "value", 1)):
        with pytest.raises(tarvello.CameraGone):
            reaches_the_camera()


def test_waiting_for_a_frame_lets_other_threads_run(camera):
    inside = False
    done = False
    seen_inside = 0

    def watch():
        nonlocal seen_inside
        while not done:
            seen_inside += inside
            time.sleep(0.001)

    # With forced switches out of the way, the watcher runs only when the
    # streaming thread lets go of the GIL itself; and between setting and
    # clearing inside, only the wait for a frame can do that.
    switch_interval = sys.getswitchinterval()
    sys.setswitchinterval(30)
    watcher = threading.Thread(target=watch)
    try:
        with camera.stream(size=(W, H), interval=(1, 15)) as s:
            watcher.start()
            for _ in range(3):
                inside = True
                next(s)
                inside = False
    finally:
        done = True
        sys.setswitchinterval(switch_interval)
        if watcher.is_alive():
            watcher.join()
    assert seen_inside > 0


def rss_kib():
    with open("/proc/self/status") as status:
        for line in status:
            if line.startswith("VmRSS:"):
                return int(line.split()[1])
    raise AssertionError("no VmRSS in /proc/self/status")


def test_no_memory_growth_over_ten_thousand_frames():
    # The virtual camera gives at most 60 frames a second, so several
    # stream at once to make 10 000 frames in a few seconds.
    streams = 12
    plugged = [_testing.plug() for _ in range(streams)]
    infos = tarvello.cameras()[-streams:]
    frames_each = 10_000 // streams + 1
    counts = [0] * streams
    baseline = {}

    def pump(slot, info):
        cam = tarvello.open(info.serial)
        fmt = "MJPG" if slot % 2 else "RGB3"
        with cam.stream(fmt=fmt, size=(W, H), interval=(1, 60)) as s:
            for frame in s:
                assert frame.array.shape == (H, W, 3)
                counts[slot] += 1
                if counts[slot] == frames_each:
                    break
                if slot == 0 and counts[0] == frames_each // 5:
                    baseline["rss"] = rss_kib()

    try:
        threads = [threading.Thread(target=pump, args=(i, info)) for i, info in enumerate(infos)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
    finally:
        for index in reversed(plugged):
            _testing.unplug(index)
    assert sum(counts) >= 10_000
    growth = rss_kib() - baseline["rss"]
    assert growth < 8 * 1024, f"resident set grew by {growth} KiB"


def test_a_full_bus_names_what_else_streams(camera, monkeypatch):
    second_index = tarvello._testing.plug()
    second = tarvello.open(tarvello.cameras()[-1].serial)
    try:
        monkeypatch.setenv("IMAGEACQUISITION_VIRTUAL_USB_BUS", "70M")
        with camera.stream(fmt="YUYV", size=(1280, 720), interval=(1, 30)):
            with pytest.raises(tarvello.BusFull) as refused:
                second.stream(fmt="YUYV", size=(1280, 720), interval=(1, 30))
            assert camera.info.serial in str(refused.value)
            assert "MJPG 1280x720 at 1/30" in str(refused.value)
            # What fits, starts.
            with second.stream(fmt="MJPG", size=(1280, 720), interval=(1, 30)) as frames:
                assert next(frames).width == 1280
    finally:
        tarvello._testing.unplug(second_index)


def test_a_followed_stream_goes_on_after_a_reboot(camera, plugged):
    info, index = plugged
    line = _testing.serial_line_path(index)
    if not line:
        pytest.skip("the virtual camera got no pseudo-terminal here")
    brightness = camera.controls["Brightness"]
    numbers = []
    with camera.stream(fmt="MJPG", size=(W, H), interval=(1, 30), timeout=3, follow=10) as frames:
        for frame in frames:
            numbers.append(frame.number)
            if len(numbers) == 3:
                with open(line, "w") as terminal:  # the camera reboots: it leaves and comes back
                    terminal.write("reboot\r")
            if len(numbers) > 3 and frame.number < numbers[-2]:
                break  # the returned camera numbers its frames anew
    assert len(numbers) > 3
    # The camera object and its controls are the returned camera's now.
    brightness.value = 7
    assert camera.controls["Brightness"].value == 7
    assert tarvello.cameras()[-1].serial == info.serial
