"""The Python module against the emulated camera: opened by its serial
number, a few frames, the maker's extension-unit controls. Run by the
guest's checks with the build's module on PYTHONPATH."""
import glob
import os
import sys

import tarvello

FRAMES = os.environ["KELVANE_DEVICE_FRAMES"]
LOG = os.environ["KELVANE_DEVICE_LOG"]
failures = []


def check(condition, what):
    if not condition:
        failures.append(what)
        print("PYTHON CHECK FAILED:", what)


def sent(data, suffix):
    """Whether these bytes are a frame the device sent."""
    for name in sorted(glob.glob(os.path.join(FRAMES, "*." + suffix)), reverse=True):
        if os.path.getsize(name) == len(data):
            with open(name, "rb") as file:
                if file.read() == data:
                    return True
    return False


def device_log():
    with open(LOG, encoding="utf-8") as file:
        return [line[10:].rstrip("\n") for line in file]


camera = tarvello.open("KVE-000042")
info = camera.info
check(info.is_kelvane and info.vendor_id == "2f7a", "not recognised as the maker's")
check(info.firmware_version == "2.13", "firmware " + info.firmware_version)
check(getattr(info, "serial_line", "") == "/dev/ttyACM0", "serial line " + repr(getattr(info, "serial_line", None)))

for frame in camera.grab(3, fmt="MJPG", size=(640, 480), decode=False):
    check(sent(frame.data, "mjpg"), "MJPG frame %d is none the device sent" % frame.number)
pictures = camera.grab(2, fmt="MJPG", size=(320, 240))
check(all(p.array is not None and p.array.shape == (240, 320, 3) for p in pictures), "MJPG not decoded")
for frame in camera.grab(2, fmt="YUYV", size=(320, 240)):
    check(frame.array.shape == (240, 320, 2), "YUYV shape %s" % (frame.array.shape,))
    check(sent(frame.array.tobytes(), "yuyv"), "YUYV frame %d is none the device sent" % frame.number)

temperature = camera.control("Temperature (C)")
check(temperature.read_only and temperature.family == "kelvane", "temperature %s %s" % (temperature.flags,
                                                                                       temperature.family))
check(2500 < temperature.value < 4500, "temperature %r" % temperature.value)
lock = camera.control("Lock Auto Controls")
start = len(device_log())
lock.value = 4
check("SET_CUR Lock Auto Controls = 4" in device_log()[start:], "the lock did not reach the device")
try:
    camera.control("Trigger Auto Controls").value = 4
    check(False, "a trigger of a locked function was taken")
except tarvello.Refused:
    pass
lock.value = 0
errors = camera.control("Error Status")
errors.value = -1
errors.refresh()
check(errors.value == 0, "error status %r" % errors.value)
check("SET_CUR Error Status = -1" in device_log()[start:], "-1 did not reach the device whole")

print("python checks:", "FAIL" if failures else "PASS")
sys.exit(1 if failures else 0)
