"""Listing, selection, hot-plug events, controls and profiles."""

import json

import pytest

import tarvello
from tarvello import _testing


def test_cameras_show_what_the_info_dialog_shows(plugged):
    info, _ = plugged
    listed = tarvello.cameras()[-1]
    assert listed.serial == info.serial and listed.node.startswith("virtual")
    assert list(listed.properties)[:3] == ["Name", "System Name", "Driver"]
    assert listed.properties["Serial"] == listed.serial
    assert listed.properties["Supports Streaming"] == "True"


def test_selection_is_that_of_the_command_line_tool(plugged):
    info, _ = plugged
    for selector in (info.serial, info.node, info.index, info.bus_info):
        assert tarvello.open(selector).info.serial == info.serial
    with pytest.raises(tarvello.CameraNotFound, match=info.serial):
        tarvello.open("no such camera")
    with pytest.raises(ValueError):
        tarvello.open(1.5)
    with pytest.raises(ValueError, match="0 or more"):
        tarvello.open(-1)
    # An index past the list is no camera, though names hold digits ("KVC-1080").
    with pytest.raises(tarvello.CameraNotFound):
        tarvello.open(len(tarvello.cameras()))


def test_hot_plug_events_arrive_in_order():
    with tarvello.watch() as events:
        assert events.get(timeout=0) is None
        index = _testing.plug()
        assert events.get(timeout=5).kind == "added"
        _testing.unplug(index)
        assert events.get(timeout=5).kind == "removed"
    assert events.closed and list(events) == []


def test_controls_round_trip_and_refuse_bad_values(camera):
    controls = camera.controls
    brightness = controls["Brightness"]
    assert (brightness.kind, brightness.family) == ("integer", "user")
    low, high = brightness.range
    brightness.value = high
    assert camera.control("brightness").value == high

    with pytest.raises(ValueError, match="out of range"):
        brightness.value = high + 1
    with pytest.raises(ValueError):
        brightness.value = 1.5
    with pytest.raises(ValueError, match="not a button"):
        brightness.press()
    brightness.refresh()
    assert brightness.value == high

    pattern = camera.control("test_pattern")
    assert pattern.kind == "menu" and len(pattern.entries) == 3
    pattern.value = pattern.entries[2]
    assert (pattern.value, pattern.index) == (pattern.entries[2], 2)
    with pytest.raises(ValueError, match="not one of its entries"):
        pattern.value = "plaid"

    with pytest.raises(tarvello.Refused, match="read-only"):
        camera.control("Temperature (C)").value = 1
    # An automatic mode makes its value inactive; switched off in the same
    # batch, the value becomes writable.
    camera.control("Exposure, Auto").value = True
    with pytest.raises(tarvello.Refused, match="inactive"):
        camera.control("Exposure Time (us)").value = 20000
    camera.set_controls({"Exposure, Auto": False, "Exposure Time (us)": 20000})
    assert camera.control("Exposure Time (us)").value == 20000

    # A batch with one bad value writes nothing.
    with pytest.raises(ValueError):
        camera.set_controls({"Brightness": low, "Contrast": "lots"})
    assert brightness.value == high
    with pytest.raises(KeyError):
        camera.control("no such control")


def test_profiles_save_and_load(camera, tmp_path):
    path = tmp_path / "profile.json"
    saved = json.loads(camera.save_profile(path))
    assert json.loads(path.read_text()) == saved
    brightness = camera.control("Brightness")
    before = brightness.value
    brightness.value = before + 10

    dry = camera.load_profile(path, dry_run=True)
    assert dry.changes == [f"Brightness: {before + 10} -> {before}"] and dry.written == []
    assert brightness.value == before + 10
    assert camera.load_profile(str(path)).written
    assert brightness.value == before

    with pytest.raises(ValueError):
        camera.load_profile('{"tarvello-profile": 1, "controls": [{"name": "Brightness", "value": "x"}]}')
    with pytest.raises(FileNotFoundError):
        camera.load_profile(tmp_path / "missing.json")


def test_the_stored_profile_is_applied_by_open(plugged, monkeypatch, tmp_path):
    info, _ = plugged
    monkeypatch.setenv("XDG_CONFIG_HOME", str(tmp_path))
    cam = tarvello.open(info.serial)
    cam.controls["Brightness"].value = 21
    folder = tmp_path / "tarvello" / "cameras"
    folder.mkdir(parents=True)
    cam.save_profile(folder / (info.serial + ".json"))
    cam.controls["Brightness"].value = -5
    del cam
    assert tarvello.open(info.serial, stored_profile=False).controls["Brightness"].value == -5
    assert tarvello.open(info.serial).controls["Brightness"].value == 21
    (folder / (info.serial + ".json")).write_text('{"tarvello-profile": 1, "controls": [{"name": "Nope", "value": 1}]}')
    with pytest.raises(ValueError, match="stored profile"):
        tarvello.open(info.serial)
