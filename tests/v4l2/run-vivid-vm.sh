#!/usr/bin/env bash
# Usage: run-vivid-vm.sh GUEST_TEST_BINARY CACHE_DIR [PROGRAM...]
# Runs the guest tests against vivid in a throw-away virtual machine (Debian's
# kernel, a busybox initramfs with the test program and its libraries). Exits
# 0 when they passed, 77 when this machine cannot run it, 1 otherwise.
# Further PROGRAMs (tarvello-ctl, ffprobe) go into the guest's /bin with
# their libraries; the guest's init then runs its checks of them too.
# The kernel, the accelerator and the settings: see tests/vm/vm.sh.
set -euo pipefail

guest_binary=$(readlink -f "$1")
cache=$2
shift 2
extra_programs=("$@")
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../vm/vm.sh"

vm_check_tools
mkdir -p "$cache"
cache=$(readlink -f "$cache")
vm_prepare_kernel "${TARVELLO_VM_KERNEL:-$cache/kernel}"

# The initramfs, built anew each run since the test program changes.
vm_new_stage "$cache/initramfs" "$here/guest-init.sh"
vm_add_program "$guest_binary" v4l2-guest-test
for program in ${extra_programs[@]+"${extra_programs[@]}"}; do
    vm_add_program "$(readlink -f "$program")" "$(basename "$program")"
done
vm_add_modules vivid
vm_pack "$cache/initramfs.cpio"

# One CPU, no devices but the serial console for output and status.
vm_choose_accelerators "$cache"
vm_run "$cache/guest.log" -m 1024 -append "console=ttyS0 quiet panic=-1"
[ "$vm_status" -eq 0 ] || { echo "FAIL: guest tests failed (accelerator $vm_accel)"; exit 1; }
echo "PASS: guest tests against vivid (accelerator $vm_accel)"
