#!/usr/bin/env bash
# Stands in for qemu-system-x86_64 in the test of the accelerator fall-back.
# Under KVM it fails the way nested KVM does on some cloud machines
# (FAKE_QEMU_KVM=error: qemu's error line, then idle; =silent: the kernel
# starts, the guest's init begins and then nothing more comes); on the
# emulated CPU it is a guest whose tests pass.
accel="" serial=""
while [ $# -gt 0 ]; do
    [ "$1" = -accel ] && accel=$2
    [ "$1" = -serial ] && serial=$2
    shift
done
# The probe of KVM boots the kernel alone with its console in a file.
say() {
    case "$serial" in
    file:*) echo "$1" >>"${serial#file:}" ;;
    *) echo "$1" ;;
    esac
}
if [ "$accel" = kvm ]; then
    case "${FAKE_QEMU_KVM:-error}" in
    error) echo "KVM internal error. Suberror: 1" >&2
           echo "emulation failure" >&2 ;;
    silent) say "Linux version 6.1.0 (fake)"
            say "TARVELLO-GUEST-BOOT" ;;
    esac
    exec sleep 300
fi
say "TARVELLO-GUEST-BOOT"
say "TARVELLO-GUEST-STATUS: 0"
