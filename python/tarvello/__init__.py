"""Cameras of the Tarvello camera layer from Python.

List cameras with cameras(), open one with open() (the same selectors as
tarvello-ctl), read and write its controls, save and load profiles, and
stream frames into numpy arrays::

    import tarvello

    cam = tarvello.open()
    with cam.stream(fmt="RGB3", size=(1280, 720), interval=(1, 30)) as frames:
        for frame in frames:
            print(frame.number, frame.array.mean())

watch() reports cameras plugged in or out.
"""

from ._native import (
    BusFull,
    Camera,
    CameraEvent,
    CameraGone,
    CameraInfo,
    CameraNotFound,
    CameraWatch,
    Control,
    Format,
    Frame,
    ProfileReport,
    Refused,
    Stream,
    cameras,
    decode_jpeg,
    open,
    watch,
)

__all__ = [
    "BusFull",
    "Camera",
    "CameraEvent",
    "CameraGone",
    "CameraInfo",
    "CameraNotFound",
    "CameraWatch",
    "Control",
    "Format",
    "Frame",
    "ProfileReport",
    "Refused",
    "Stream",
    "cameras",
    "decode_jpeg",
    "open",
    "watch",
]
