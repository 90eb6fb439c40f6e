import contextlib

import pytest

import tarvello
from tarvello import _testing


@pytest.fixture
def plugged():
    """A virtual camera plugged in for one test, unplugged afterwards
    (unless the test did): its CameraInfo and its virtual index."""
    index = _testing.plug()
    info = tarvello.cameras()[-1]
    yield info, index
    if _testing.count() > index and tarvello.cameras()[-1].serial == info.serial:
        _testing.unplug(index)


@pytest.fixture
def camera(plugged):
    """The plugged camera, opened; its settings (which belong to the
    device) are reset afterwards."""
    info, _ = plugged
    cam = tarvello.open(info.serial)
    yield cam
    with contextlib.suppress(tarvello.CameraGone):  # unplugged by the test
        cam.reset()
