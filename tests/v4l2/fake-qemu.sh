#!/usr/bin/env bash
# Stands in for qemu-system-x86_64 in the test of the accelerator fall-back.
# Under KVM it fails the way nested KVM does on some cloud machines
# (FAKE_QEMU_KVM=error: qemu's error line, then idle; =silent: the guest
# starts and then prints nothing); on the emulated CPU it is a guest whose
# tests pass.
accel=""
while [ $# -gt 0 ]; do
    [ "$1" = -accel ] && accel=$2
    shift
done
if [ "$accel" = kvm ]; then
    case "${FAKE_QEMU_KVM:-error}" in
    error) echo "KVM internal error. Suberror: 1" >&2
           echo "emulation failure" >&2 ;;
    silent) echo "V4L2-GUEST-BOOT" ;;
    esac
    exec sleep 300
fi
echo "V4L2-GUEST-BOOT"
echo "V4L2-GUEST-STATUS: 0"
