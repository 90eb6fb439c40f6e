#!/usr/bin/env bash
# Usage: run-usbcamera-vm.sh CACHE_DIR SOURCE_DIR BUILD_DIR GUEST_SCRIPT_DIR [NAME=VALUE...]
# Runs the tests against the emulated camera of the maker in a throw-away
# virtual machine: Debian's kernel with its own uvcvideo, cdc_acm and
# vhci_hcd, and a busybox initramfs with only the modules and the guest's
# scripts. Everything else the guest runs from the host through virtio-9p,
# read-only and at the same paths: /usr and /etc (python3, numpy, Qt and its
# plug-ins, fonts, fuser, ffprobe), the source tree and the build tree (the
# emulated device, the test programs, tarvello-ctl, the Python module),
# which the guest's checks find through the guest's /test.env. CACHE_DIR/out is
# shared writable: the device's log, the frames it sent and the window's
# screenshot come back there.
# NAME=VALUE pairs name the programs for the guest (device, layer, ctl,
# window, python_path, asan_preload); they go into /test.env as NAME in
# capitals.
# Exits 0 when the tests passed, 77 when this machine cannot run them, 1
# otherwise. The kernel, the accelerator and the settings: see tests/vm/vm.sh.
set -euo pipefail

cache=$1
# Logical paths, as CMake wrote them into the programs' run paths.
source=$(cd "$2" && pwd)
build=$(cd "$3" && pwd)
scripts=$(readlink -f "$4")
shift 4
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../vm/vm.sh"

vm_check_tools
mkdir -p "$cache"
cache=$(readlink -f "$cache")
vm_prepare_kernel "${TARVELLO_VM_KERNEL:-$cache/kernel}"

out=$cache/out
rm -rf "$out"
mkdir -p "$out"

vm_new_stage "$cache/initramfs" "$here/guest-init.sh"
# Programs come from the host's /usr; the guest links its /lib64 there.
rmdir "$vm_stage/lib64" "$vm_stage/lib/x86_64-linux-gnu" "$vm_stage/lib"
mkdir -p "$vm_stage/guest"
cp "$scripts"/* "$vm_stage/guest/"
{
    echo "SOURCE_DIR='$source'"
    echo "BUILD_DIR='$build'"
    echo "OUT_DIR='$out'"
    for pair in "$@"; do
        name=${pair%%=*}
        echo "$(echo "$name" | tr a-z A-Z)='${pair#*=}'"
    done
} >"$vm_stage/test.env"
vm_add_modules vhci-hcd uvcvideo cdc-acm 9pnet_virtio 9p virtio_pci
vm_pack "$cache/initramfs.cpio"

share() { # TAG PATH [ro]
    echo "-virtfs local,path=$2,mount_tag=$1,security_model=none,multidevs=remap${3:+,readonly=on}"
}
vm_choose_accelerators "$cache"
# shellcheck disable=SC2046
vm_run "$cache/guest.log" -m 1536 -append "console=ttyS0 quiet panic=-1" \
    $(share usr /usr ro) $(share etc /etc ro) $(share source "$source" ro) $(share build "$build" ro) \
    $(share out "$out")
[ "$vm_status" -eq 0 ] || { echo "FAIL: guest tests failed (accelerator $vm_accel); the device's log: $out/device.log"; exit 1; }
echo "PASS: the emulated camera on uvcvideo and cdc_acm (accelerator $vm_accel)"
