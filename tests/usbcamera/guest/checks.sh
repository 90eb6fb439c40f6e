# Sourced by the guest's init once the shares are mounted: plugs in the
# emulated camera, then checks the camera layer, tarvello-ctl, the Python
# module and the window against it. fail() notes a failure and goes on.

export KELVANE_DEVICE_LOG=$OUT_DIR/device.log KELVANE_DEVICE_FRAMES=/tmp/frames
mkdir -p "$KELVANE_DEVICE_FRAMES"
"$DEVICE" --log "$KELVANE_DEVICE_LOG" --frames "$KELVANE_DEVICE_FRAMES" &
export KELVANE_DEVICE_PID=$!

uptime_now() {
    cut -d' ' -f1 /proc/uptime
}

# wait_for_nodes: the camera's video node and serial line, within 10 s.
wait_for_nodes() {
    for i in $(seq 1 100); do
        [ -e /dev/video0 ] && [ -e /dev/ttyACM0 ] && return 0
        sleep 0.1
    done
    fail "the camera's nodes did not appear within 10 s"
    return 1
}

# The device's log from the mark on (mark_log sets it).
mark_log() {
    log_mark=$(wc -l <"$KELVANE_DEVICE_LOG")
}
logged_since_mark() {
    tail -n +$((log_mark + 1)) "$KELVANE_DEVICE_LOG" | cut -c11-
}
# wait_logged TEXT: a line since the mark starting with TEXT, within 10 s.
wait_logged() {
    for i in $(seq 1 100); do
        logged_since_mark | grep -q "^$1" && return 0
        sleep 0.1
    done
    return 1
}

# sent_before FILE SUFFIX: the file is byte for byte a frame the device sent.
sent_before() {
    for sent in $(ls -r "$KELVANE_DEVICE_FRAMES"/*."$2"); do
        cmp -s "$1" "$sent" && return 0
    done
    return 1
}

wait_for_nodes || finish
echo "camera plugged in after $(uptime_now) s"

echo "=== the camera layer"
# controls first, on the camera as it powered on; hotplug last, which
# leaves it freshly powered on again.
"$LAYER" controls identity formats roundtrips extension frames firmware hotplug || fail "the camera layer's checks"
wait_for_nodes || finish

echo "=== tarvello-ctl ($(uptime_now) s)"
ctl=$CTL
$ctl list --json >/tmp/list.json || fail "tarvello-ctl list"
for field in '"serial": "KVE-000042"' '"serial_line": "/dev/ttyACM0"' '"kelvane": true' '"vendor_id": "2f7a"' \
    '"bus_info": "usb-vhci_hcd.0-1"'; do
    grep -q "$field" /tmp/list.json || fail "tarvello-ctl list --json has no $field"
done
$ctl info >/tmp/info.txt || fail "tarvello-ctl info"
for row in "Firmware Version +2.13" "Serial +KVE-000042" "Serial Line +/dev/ttyACM0" "Manufacturer +Kelvane" \
    "Is a Kelvane Device +True"; do
    grep -Eq "^$row\$" /tmp/info.txt || fail "tarvello-ctl info has no row '$row'"
done
$ctl controls >/tmp/controls.txt || fail "tarvello-ctl controls"
grep -Eq '^temperature_c +Temperature \(C\) +integer +-4000\.\.12500 step 1 .* read-only +kelvane$' /tmp/controls.txt \
    || fail "tarvello-ctl controls shows no read-only 'Temperature (C)' of the maker"
for key in error_status trigger_auto_controls lock_auto_controls cooling_fan auto_exposure exposure_time_absolute; do
    grep -q "^$key " /tmp/controls.txt || fail "tarvello-ctl controls has no $key"
done

mark_log
$ctl set brightness=30 lock_auto_controls=2 cooling_fan=off >/dev/null || fail "tarvello-ctl set"
for write in "SET_CUR Brightness = 30" "SET_CUR Lock Auto Controls = 2" "SET_CUR Cooling Fan = 0"; do
    logged_since_mark | grep -qx "$write" || fail "the device did not see '$write'"
done
mark_log
got=$($ctl get brightness lock_auto_controls temperature_c)
[ "$(echo "$got" | head -n 2 | tr '\n' ' ')" = "Brightness = 30 Lock Auto Controls = 2 " ] \
    || fail "tarvello-ctl get gave '$got'"
sensed=$(logged_since_mark | sed -n 's/^GET_CUR Temperature (C) -> //p' | tail -n 1)
[ -n "$sensed" ] && echo "$got" | grep -qx "Temperature (C) = $sensed" \
    || fail "tarvello-ctl get temperature_c: '$got', the device answered '$sensed'"
$ctl set trigger_auto_controls=2 >/tmp/refused.txt 2>&1
[ $? -eq 4 ] || fail "a trigger of a locked function was not refused (exit 4): $(cat /tmp/refused.txt)"
# The lock and the fan stay as set: the unplugs below power the camera up afresh.

$ctl grab -n 3 --format MJPG --type raw -o /tmp/grab >/dev/null || fail "tarvello-ctl grab"
[ "$(ls /tmp/grab/*.jpg 2>/dev/null | wc -l)" -eq 3 ] || fail "tarvello-ctl grab did not write 3 files"
for file in /tmp/grab/*.jpg; do
    sent_before "$file" mjpg || fail "$file is none of the frames the device sent"
done
$ctl record -n 10 --format MJPG -o /tmp/run.mkv >/dev/null || fail "tarvello-ctl record"
if command -v ffprobe >/dev/null; then
    probed=$(ffprobe -v error -count_frames -select_streams v:0 \
        -show_entries stream=codec_name,width,height,nb_read_frames -of csv=p=0 /tmp/run.mkv)
    [ "$probed" = "mjpeg,640,480,10" ] || fail "ffprobe on the recording: '$probed'"
else
    echo "the recording is not checked: no ffprobe (install ffmpeg)"
fi
$ctl stats --duration 1 --format YUYV --size 320x240 >/tmp/stats.txt || fail "tarvello-ctl stats"
grep -q '^frames: ' /tmp/stats.txt || fail "tarvello-ctl stats: $(cat /tmp/stats.txt)"

# The first command on a freshly opened line is answered: nothing the
# camera sent glues onto it.
mark_log
$ctl serial --send status --duration 1 >/tmp/serial.txt 2>&1 || fail "tarvello-ctl serial --send status"
grep -q 'Kelvane KVC-640 Camera' /tmp/serial.txt || fail "tarvello-ctl serial showed no banner"
grep -q 'temp [0-9.]* C, errors 0x' /tmp/serial.txt || fail "tarvello-ctl serial showed no status line"
grep -q 'unknown command' /tmp/serial.txt && fail "the camera did not understand: $(cat /tmp/serial.txt)"
commands=$(logged_since_mark | sed -n 's/^serial command //p' | tr '\n' ' ')
[ "$commands" = '"" "status" ' ] || fail "the camera received the commands $commands"

# Unplugged while streaming, and while listening to the line: a message
# and exit status 3, as grab gives.
for command in "stats --duration 8" "serial --duration 8"; do
    mark_log
    $ctl $command >/tmp/unplugged.txt 2>&1 &
    ctl_pid=$!
    case "$command" in
    stats*) wait_logged "stream " ;;
    serial*) wait_logged "serial DTR on" ;;
    esac || fail "tarvello-ctl $command did not start within 10 s"
    kill -USR1 "$KELVANE_DEVICE_PID"
    wait "$ctl_pid"
    result=$?
    [ "$result" -eq 3 ] || fail "tarvello-ctl $command after an unplug: exit $result: $(tail -n 3 /tmp/unplugged.txt)"
    echo "tarvello-ctl $command, unplugged: $(tail -n 1 /tmp/unplugged.txt) (exit $result)"
    kill -USR2 "$KELVANE_DEVICE_PID"
    wait_for_nodes || finish
done

# A recording that follows its camera across a USB disconnect and
# reconnect: one file, frames from before and after, the time away a gap.
mark_log
$ctl record --follow 10 --duration 5 --format MJPG --size 320x240 -o /tmp/followed.mkv >/tmp/followed.txt 2>&1 &
ctl_pid=$!
wait_logged "stream " || fail "tarvello-ctl record --follow did not start within 10 s"
sleep 1
kill -USR1 "$KELVANE_DEVICE_PID"
sleep 1
kill -USR2 "$KELVANE_DEVICE_PID"
wait "$ctl_pid" || fail "tarvello-ctl record --follow across a replug: $(cat /tmp/followed.txt)"
grep -q "was unplugged; waiting" /tmp/followed.txt && grep -q "is back" /tmp/followed.txt \
    || fail "tarvello-ctl record --follow told no leaving and return: $(cat /tmp/followed.txt)"
wait_for_nodes || finish
if command -v ffprobe >/dev/null; then
    gap=$(ffprobe -v error -select_streams v:0 -show_entries packet=pts_time -of csv=p=0 /tmp/followed.mkv \
        | awk 'NR > 1 && $1 - last > widest { widest = $1 - last } { last = $1; n++ } END { printf "%d %.2f", n, widest }')
    echo "record --follow across a replug: frames and widest gap in s: $gap"
    set -- $gap
    [ "${1:-0}" -gt 20 ] && awk -v g="${2:-0}" 'BEGIN { exit !(g > 0.8) }' \
        || fail "the followed recording has ${1:-no} frames and a widest gap of ${2:-?} s"
fi

# The udev rule applies the camera's stored system profile when it comes
# back: the real rule (its program's folder filled in as at install) under
# the real udevd, where the machine has it.
# udevadm is the daemon too, when called systemd-udevd (the host's
# /lib/systemd/systemd-udevd links to it by a path the guest does not have).
udevadm=/usr/bin/udevadm
if [ -x "$udevadm" ] && [ -f "$BUILD_DIR/desktop/70-tarvello-center.rules.template" ]; then
    mkdir -p /tmp/pkglib /tmp/profiles /run/udev/rules.d /tmp/udev
    udevd=/tmp/udev/systemd-udevd
    ln -sf "$udevadm" "$udevd"
    ln -sf "$SOURCE_DIR/desktop/tarvello-apply-stored-profile" /tmp/pkglib/
    ln -sf "$ctl" /tmp/pkglib/tarvello-ctl
    sed 's|%PKGLIBDIR%|/tmp/pkglib|' "$BUILD_DIR/desktop/70-tarvello-center.rules.template" \
        >/run/udev/rules.d/70-tarvello-center.rules
    # /etc is the host's, read-only here: the system profiles' folder elsewhere.
    echo 'SUBSYSTEM=="video4linux", ENV{TARVELLO_SYSTEM_PROFILE_DIR}="/tmp/profiles"' \
        >/run/udev/rules.d/10-profile-folder.rules
    TARVELLO_SYSTEM_PROFILE_DIR=/tmp/profiles $ctl set brightness=44 >/dev/null || fail "tarvello-ctl set brightness=44"
    TARVELLO_SYSTEM_PROFILE_DIR=/tmp/profiles $ctl profile store --system >/dev/null || fail "tarvello-ctl profile store --system"
    "$udevd" --daemon || fail "systemd-udevd did not start"
    kill -USR1 "$KELVANE_DEVICE_PID"
    sleep 1
    kill -USR2 "$KELVANE_DEVICE_PID"
    wait_for_nodes || finish
    # The camera powers up with its defaults; the rule brings 44 back. Each
    # look starts a program, which takes its time on the emulated CPU: the
    # limit is 15 s of the clock.
    deadline=$(awk -v now="$(uptime_now)" 'BEGIN { print now + 15 }')
    while got=$($ctl get brightness 2>&1) && [ "$got" != "Brightness = 44" ]; do
        awk -v now="$(uptime_now)" -v end="$deadline" 'BEGIN { exit !(now < end) }' || break
        sleep 0.3
    done
    if [ "$got" = "Brightness = 44" ]; then
        echo "stored profile applied at plug by the udev rule: $got"
    else
        fail "the stored profile was not applied at plug: $got"
    fi
    "$udevadm" control --exit 2>/dev/null || killall systemd-udevd 2>/dev/null
else
    echo "the udev rule at plug is not checked: no $udevadm (install the udev package)"
fi

echo "=== the Python module ($(uptime_now) s)"
if [ -n "${PYTHON_PATH:-}" ]; then
    # python3 is not built with the sanitizers: their runtimes go first. The
    # interpreter keeps memory to the end by design; the module's leaks are
    # the host's Python test's to find.
    LD_PRELOAD=${ASAN_PRELOAD:-} ASAN_OPTIONS=detect_leaks=0 PYTHONPATH=$PYTHON_PATH PYTHONDONTWRITEBYTECODE=1 \
        python3 /guest/python_checks.py || fail "the Python module's checks"
else
    echo "skipped: the build has no Python module (TARVELLO_BUILD_PYTHON=OFF)"
fi

echo "=== the window ($(uptime_now) s)"
mkdir -p /tmp/runtime
chmod 700 /tmp/runtime
# From the folder of the application's ./fuser, as the application runs.
(cd "$BUILD_DIR/app" && QT_QPA_PLATFORM=offscreen XDG_RUNTIME_DIR=/tmp/runtime \
    LSAN_OPTIONS=suppressions=$SOURCE_DIR/tests/lsan.supp:print_suppressions=0 \
    USBCAMERA_SCREENSHOT=$OUT_DIR/usbcamera-settings.png "$WINDOW") || fail "the window's checks"

kill -TERM "$KELVANE_DEVICE_PID"
for i in $(seq 1 50); do
    kill -0 "$KELVANE_DEVICE_PID" 2>/dev/null || break
    sleep 0.1
done
if kill -0 "$KELVANE_DEVICE_PID" 2>/dev/null; then
    fail "the emulated camera did not stop within 5 s of SIGTERM"
    kill -KILL "$KELVANE_DEVICE_PID"
fi
wait "$KELVANE_DEVICE_PID" || fail "the emulated camera ended with status $?"
echo "done after $(uptime_now) s"
