#!/bin/busybox sh
# /init of the test machine: runs the guest tests against vivid in each
# configuration, reports one status line on the console and powers off.

/bin/busybox mkdir -p /dev /proc /sys /tmp
/bin/busybox mount -t devtmpfs devtmpfs /dev
# The kernel found no /dev/console in the archive, so init started without
# standard streams; take them from the console now that devtmpfs has it.
exec </dev/console >/dev/console 2>&1
# Tells the host that the machine booted and its tests begin.
echo "V4L2-GUEST-BOOT"
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

echo "V4L2-GUEST-STATUS: $status"
poweroff -f
