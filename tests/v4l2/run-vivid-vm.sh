#!/usr/bin/env bash
# Usage: run-vivid-vm.sh GUEST_TEST_BINARY CACHE_DIR [PROGRAM...]
# Runs the guest tests against vivid in a throw-away virtual machine (Debian's
# kernel, a busybox initramfs with the test program and its libraries). Exits
# 0 when they passed, 77 when this machine cannot run it, 1 otherwise.
# Further PROGRAMs (tarvello-ctl, ffprobe) go into the guest's /bin with
# their libraries; the guest's init then runs its checks of them too.
set -euo pipefail
# Byte-wise matching for the search in the compressed kernel.
export LC_ALL=C

guest_binary=$(readlink -f "$1")
cache=$2
shift 2
extra_programs=("$@")
here=$(cd "$(dirname "$0")" && pwd)
timeout_seconds=${VIVID_VM_TIMEOUT:-300}

skip() {
    echo "SKIP: $*"
    exit 77
}

for tool in busybox depmod modprobe cpio xz dpkg-deb ldd timeout; do
    command -v "$tool" >/dev/null 2>&1 || PATH=$PATH:/sbin:/usr/sbin
    command -v "$tool" >/dev/null 2>&1 \
        || skip "'$tool' is missing; install the test tools with scripts/install-deps.sh vivid"
done
command -v "${VIVID_VM_QEMU:-qemu-system-x86_64}" >/dev/null 2>&1 \
    || skip "qemu-system-x86_64 is missing; install the test tools with scripts/install-deps.sh vivid"
busybox_path=$(command -v busybox)
if ldd "$busybox_path" >/dev/null 2>&1; then
    skip "$busybox_path is not statically linked; install busybox-static"
fi

mkdir -p "$cache"
cache=$(readlink -f "$cache")

# --- The kernel: Debian's current image package, unpacked without running its
# maintainer scripts (no initramfs generation), kept in the cache.
kernel_root=$cache/kernel
if [ ! -f "$kernel_root/ready" ]; then
    package=$(apt-cache depends linux-image-amd64 2>/dev/null \
              | awk '/Depends: linux-image-[0-9]/ { print $2; exit }')
    [ -n "$package" ] || skip "apt cannot name Debian's kernel package (run apt-get update)"
    rm -rf "$kernel_root" "$cache"/linux-image-*.deb
    mkdir -p "$kernel_root"
    deb=$(ls /var/cache/apt/archives/"$package"_*.deb 2>/dev/null | head -n 1 || true)
    if [ -z "$deb" ]; then
        (cd "$cache" && timeout 120 apt-get download "$package" >/dev/null 2>&1) \
            || skip "$package is neither in apt's cache nor downloadable (scripts/install-deps.sh vivid caches it)"
        deb=$(ls "$cache/$package"_*.deb | head -n 1)
    fi
    # Only what the guest needs: the kernel and the media drivers.
    dpkg-deb --fsys-tarfile "$deb" | tar -x -C "$kernel_root" --wildcards \
        './boot/vmlinuz-*' './lib/modules/*/kernel/drivers/media/*' \
        './lib/modules/*/modules.builtin*' './lib/modules/*/modules.order'
    rm -f "$cache/$package"_*.deb
    kver=$(basename "$(ls -d "$kernel_root"/lib/modules/*)")
    depmod -b "$kernel_root" "$kver"
    # The uncompressed kernel has a PVH entry point that qemu boots directly,
    # which saves the decompression inside the slow emulated CPU. xz reports
    # the padding after the stream as an error; the kernel itself is whole.
    vmlinuz=$kernel_root/boot/vmlinuz-$kver
    offset=$(grep -obUaP '\xfd7zXZ' "$vmlinuz" | head -n 1 | cut -d: -f1 || true)
    if [ -n "$offset" ]; then
        tail -c +$((offset + 1)) "$vmlinuz" | xz -dc >"$kernel_root/vmlinux" 2>/dev/null || true
        if ! head -c 4 "$kernel_root/vmlinux" | grep -q ELF; then
            rm -f "$kernel_root/vmlinux"
        fi
    fi
    echo "$kver" >"$kernel_root/ready"
fi
kver=$(cat "$kernel_root/ready")
kernel=$kernel_root/vmlinux
[ -f "$kernel" ] || kernel=$kernel_root/boot/vmlinuz-$kver

# --- The initramfs, built anew each run since the test program changes.
stage=$cache/initramfs
rm -rf "$stage"
mkdir -p "$stage"/{bin,dev,proc,sys,tmp,modules,lib64,lib/x86_64-linux-gnu}
cp "$busybox_path" "$stage/bin/busybox"
cp "$here/guest-init.sh" "$stage/init"
chmod +x "$stage/init"
# Each program with its shared libraries (the camera layer, libv4l2, libudev,
# the sanitizer runtimes in a sanitized build), flattened into the two
# folders the dynamic loader searches by default.
add_program() {
    cp "$1" "$stage/bin/$2"
    ldd "$1" | awk '$2 == "=>" && $3 ~ /^\// { print $3 } $1 ~ /^\// { print $1 }' | while read -r lib; do
        case "$lib" in
        */ld-linux-x86-64.so.2) cp -L "$lib" "$stage/lib64/ld-linux-x86-64.so.2" ;;
        *) [ -e "$stage/lib/x86_64-linux-gnu/$(basename "$lib")" ] || cp -L "$lib" "$stage/lib/x86_64-linux-gnu/" ;;
        esac
    done
}
add_program "$guest_binary" v4l2-guest-test
for program in ${extra_programs[@]+"${extra_programs[@]}"}; do
    add_program "$(readlink -f "$program")" "$(basename "$program")"
done
# vivid and the modules it needs, in load order.
modprobe -d "$kernel_root" -S "$kver" --show-depends vivid | awk '/^insmod/ { print $2 }' \
    | while read -r module; do
        name=$(basename "$module")
        case "$name" in
        *.xz) xz -dc "$module" >"$stage/modules/${name%.xz}"; name=${name%.xz} ;;
        *) cp "$module" "$stage/modules/$name" ;;
        esac
        echo "$name" >>"$stage/modules/load-order"
    done
[ -s "$stage/modules/load-order" ] || { echo "FAIL: vivid is not in $kver"; exit 1; }
(cd "$stage" && find . | cpio -o -H newc --quiet) >"$cache/initramfs.cpio"

# --- Boot: one CPU, no devices but the serial console for output and status.
#
# KVM is used only when it works. A /dev/kvm that opens does not prove it:
# nested KVM on some cloud machines stops the guest right after boot with
# "KVM internal error ... emulation failure" and qemu then sits idle, and
# "-accel kvm -accel tcg" falls back only when /dev/kvm cannot be opened.
# So a KVM run that fails to report a status is started again on the
# emulated CPU, which runs these tests in well under a minute anyway.
# TARVELLO_VM_ACCEL=kvm or tcg forces one of them (no fall-back).
# VIVID_VM_QEMU and VIVID_VM_KVM_DEVICE stand in for qemu and /dev/kvm, so
# that the fall-back itself can be tested on any machine.
log=$cache/guest.log
qemu_errors=$cache/qemu.err
silence_seconds=${VIVID_VM_SILENCE:-60}        # a guest quiet this long hangs
qemu_program=${VIVID_VM_QEMU:-qemu-system-x86_64}

# boot ACCEL: 0 when the guest reported a status, 1 otherwise; why is in $verdict.
boot() {
    local accel=$1 start now last_change size last_size=-1 pid boot_seconds
    # Until the guest's init speaks: seconds under KVM, a little longer on
    # the emulated CPU, whose boot is slow on a slow machine.
    boot_seconds=${VIVID_VM_BOOT_TIMEOUT:-$([ "$accel" = kvm ] && echo 15 || echo 60)}
    : >"$log"
    : >"$qemu_errors"
    "$qemu_program" -accel "$accel" -m 1024 -nodefaults -display none \
        -no-reboot -chardev stdio,id=console,signal=off -serial chardev:console \
        -kernel "$kernel" -initrd "$cache/initramfs.cpio" \
        -append "console=ttyS0 quiet panic=-1" </dev/null >"$log" 2>"$qemu_errors" &
    pid=$!
    start=$(date +%s)
    last_change=$start
    verdict=""
    while kill -0 "$pid" 2>/dev/null; do
        sleep 0.2
        now=$(date +%s)
        if grep -qiE 'KVM internal error|emulation failure|failed to initialize kvm|Could not access KVM' \
            "$qemu_errors" "$log" 2>/dev/null; then
            verdict="qemu reported: $(grep -hiE 'KVM internal error|emulation failure|kvm' "$qemu_errors" "$log" | head -n 1)"
        elif ! grep -q '^V4L2-GUEST-BOOT' "$log" && [ $((now - start)) -ge "$boot_seconds" ]; then
            verdict="the guest did not start its tests within $boot_seconds s"
        elif [ $((now - start)) -ge "$timeout_seconds" ]; then
            verdict="the virtual machine did not finish within $timeout_seconds s"
        else
            size=$(stat -c %s "$log")
            if [ "$size" -ne "$last_size" ]; then
                last_size=$size
                last_change=$now
            elif [ $((now - last_change)) -ge "$silence_seconds" ]; then
                verdict="the guest printed nothing for $silence_seconds s"
            fi
        fi
        [ -z "$verdict" ] && continue
        kill "$pid" 2>/dev/null
        break
    done
    local qemu_status=0
    wait "$pid" 2>/dev/null || qemu_status=$?
    tr -d '\r' <"$log"
    sed 's/^/qemu: /' "$qemu_errors" | head -n 20
    echo "virtual machine ($accel) ran $(($(date +%s) - start)) s (qemu status $qemu_status)"
    status=$(tr -d '\r' <"$log" | sed -n 's/^V4L2-GUEST-STATUS: \([0-9]*\)$/\1/p' | tail -n 1)
    if [ -n "$status" ]; then
        return 0
    fi
    [ -n "$verdict" ] || verdict="qemu ended (status $qemu_status) before the guest reported a status"
    return 1
}

case "${TARVELLO_VM_ACCEL:-auto}" in
kvm) accelerators=(kvm) ;;
tcg) accelerators=(tcg) ;;
auto)
    kvm_device=${VIVID_VM_KVM_DEVICE:-/dev/kvm}
    if [ -r "$kvm_device" ] && [ -w "$kvm_device" ]; then
        accelerators=(kvm tcg)
    else
        echo "no usable $kvm_device: the emulated CPU runs the guest"
        accelerators=(tcg)
    fi ;;
*) echo "FAIL: TARVELLO_VM_ACCEL must be kvm, tcg or auto"; exit 1 ;;
esac

status=""
for accel in "${accelerators[@]}"; do
    echo "=== booting the guest with accelerator $accel"
    if boot "$accel"; then
        break
    fi
    echo "accelerator $accel failed: $verdict"
done
if [ -z "$status" ]; then
    echo "FAIL: $verdict"
    exit 1
fi
[ "$status" -eq 0 ] || { echo "FAIL: guest tests failed (accelerator $accel)"; exit 1; }
echo "PASS: guest tests against vivid (accelerator $accel)"
