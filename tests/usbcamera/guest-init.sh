#!/bin/busybox sh
# /init of the test machine: plugs in the emulated camera of the maker and
# runs the checks against it on the real uvcvideo and cdc_acm drivers.

/bin/busybox mkdir -p /dev /proc /sys /tmp
/bin/busybox mount -t devtmpfs devtmpfs /dev
exec </dev/console >/dev/console 2>&1
echo "TARVELLO-GUEST-BOOT"
/bin/busybox --install -s /bin
export PATH=/bin
mount -t proc proc /proc
mount -t sysfs sysfs /sys
mount -t tmpfs tmpfs /tmp
mkdir -p /dev/shm /run
mount -t tmpfs tmpfs /dev/shm
mount -t tmpfs tmpfs /run

status=0
fail() {
    echo "GUEST FAIL: $*"
    status=1
}
finish() {
    echo "TARVELLO-GUEST-STATUS: $status"
    /bin/busybox poweroff -f
}

for module in $(cat /modules/load-order); do
    insmod "/modules/$module" || fail "insmod $module"
done
. /test.env
ninep() { # TAG DIR [ro]
    mkdir -p "$2"
    mount -t 9p -o "trans=virtio,version=9p2000.L,cache=loose,msize=512000${3:+,ro}" "$1" "$2" \
        || fail "mount $1 on $2"
}
ninep usr /usr ro
ninep etc /etc ro
# The build tree may lie inside the source tree, the output inside the
# build tree: the outer ones first.
ninep source "$SOURCE_DIR" ro
ninep build "$BUILD_DIR" ro
ninep out "$OUT_DIR"
ln -s /usr/lib64 /lib64
ln -s /usr/lib /lib
[ "$status" -eq 0 ] || finish
export PATH=/usr/bin:/usr/sbin:/bin HOME=/tmp
echo "guest ready after $(cut -d' ' -f1 /proc/uptime) s"

. /guest/checks.sh
finish
