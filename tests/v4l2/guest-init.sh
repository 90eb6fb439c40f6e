#!/bin/busybox sh
# /init of the test machine: runs the guest tests against vivid in each
# configuration, reports one status line on the console and powers off.

/bin/busybox mkdir -p /dev /proc /sys /tmp
/bin/busybox mount -t devtmpfs devtmpfs /dev
# The kernel found no /dev/console in the archive, so init started without
# standard streams; take them from the console now that devtmpfs has it.
exec </dev/console >/dev/console 2>&1
# Tells the host that the machine booted and its tests begin.
echo "TARVELLO-GUEST-BOOT"
/bin/busybox --install -s /bin
export PATH=/bin
mount -t proc proc /proc
mount -t sysfs sysfs /sys
# libv4l2 keeps its control state in shared memory named after the user.
mkdir -p /dev/shm /etc
mount -t tmpfs tmpfs /dev/shm
echo "root:x:0:0:root:/:/bin/sh" >/etc/passwd

export ASAN_OPTIONS=detect_leaks=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

status=0
fail() {
    echo "GUEST FAIL: $*"
    status=1
}

load_vivid() {
    for module in $(cat /modules/load-order); do
        case "$module" in
        vivid.ko) insmod /modules/vivid.ko "$@" || fail "insmod vivid $*" ;;
        *) name=$(echo "${module%.ko}" | tr - _)
           grep -q "^$name " /proc/modules \
               || insmod "/modules/$module" || fail "insmod $module" ;;
        esac
    done
}

section() {
    echo "=== $*"
    /bin/v4l2-guest-test "$@" || fail "$*"
}

# A webcam-like device: a capture node with one camera input, and a metadata
# node beside it as UVC cameras have.
load_vivid n_devs=1 node_types=0x20001 num_inputs=1 input_types=0
section enumeration streaming controls
# libv4l2 then offers converted formats beside the native ones, as it does for
# a camera that only delivers YUYV or MJPG.
LIBV4LCONTROL_FLAGS=0x01 section formats
section hotplug
rmmod vivid || fail "rmmod vivid"

# A multi-planar device must be left out rather than half work.
load_vivid n_devs=1 node_types=0x1 num_inputs=1 input_types=0 multiplanar=2
section multiplanar
rmmod vivid || fail "rmmod vivid"

# The command-line companion against the same driver, where the host put it
# into the machine: what its users do first on a new camera.
if [ -x /bin/tarvello-ctl ]; then
    echo "=== tarvello-ctl"
    load_vivid n_devs=1 node_types=0x1 num_inputs=1 input_types=0
    export HOME=/tmp
    ctl=/bin/tarvello-ctl
    $ctl list | grep -q vivid || fail "tarvello-ctl list names no vivid camera"
    $ctl formats --json >/tmp/formats.json && grep -q '"YUYV"' /tmp/formats.json \
        || fail "tarvello-ctl formats has no YUYV"
    $ctl set brightness=200 >/dev/null || fail "tarvello-ctl set brightness=200"
    got=$($ctl get brightness)
    [ "$got" = "Brightness = 200" ] || fail "tarvello-ctl get brightness gave '$got'"
    $ctl set brightness=300 contrast=10 >/dev/null 2>&1
    [ $? -eq 2 ] || fail "an out-of-range value was not refused as bad input"
    [ "$($ctl get contrast)" != "Contrast = 10" ] || fail "a refused batch wrote a value"
    $ctl grab -n 3 --format YUYV --size 640x360 -o /tmp/grab >/dev/null || fail "tarvello-ctl grab"
    [ "$(ls /tmp/grab/*.png 2>/dev/null | wc -l)" -eq 3 ] || fail "tarvello-ctl grab did not write 3 pictures"
    $ctl record -n 10 --format YUYV --size 640x360 -o /tmp/run.mkv >/dev/null || fail "tarvello-ctl record"
    if [ -x /bin/ffprobe ]; then
        probed=$(ffprobe -v error -count_frames -select_streams v:0 \
            -show_entries stream=codec_name,width,height,nb_read_frames -of csv=p=0 /tmp/run.mkv)
        echo "ffprobe on the recording: $probed"
        [ "$probed" = "ffv1,640,360,10" ] || fail "ffprobe on the recording: '$probed'"
    fi
    rmmod vivid || fail "rmmod vivid"
fi

echo "TARVELLO-GUEST-STATUS: $status"
poweroff -f
