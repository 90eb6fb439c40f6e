#!/usr/bin/env bash
# Usage: test-accel-fallback.sh RUN_VIVID_VM GUEST_TEST_BINARY CACHE_DIR
# A KVM that breaks after the guest starts, in both ways seen on nested
# machines, must hand the run to the emulated CPU within seconds and say so;
# and a verdict kept for the other runs must spare them the probe.
set -uo pipefail
# Each run makes its own verdict on KVM here, unless told where to keep it.
unset TARVELLO_VM_ACCEL_VERDICT
runner=$1 guest=$2 cache=$3
here=$(cd "$(dirname "$0")" && pwd)
kvm=$(mktemp)
verdict=$(mktemp -u)
trap 'rm -f "$kvm" "$verdict" "$verdict.lock"' EXIT

failures=0
for mode in error silent; do
    start=$(date +%s)
    output=$(FAKE_QEMU_KVM=$mode TARVELLO_VM_QEMU="$here/fake-qemu.sh" TARVELLO_VM_KVM_DEVICE="$kvm" \
        TARVELLO_VM_ACCEL=auto TARVELLO_VM_SILENCE=2 "$runner" "$guest" "$cache" 2>&1)
    status=$?
    seconds=$(($(date +%s) - start))
    [ "$status" -eq 77 ] && { echo "$output" | tail -n 1; exit 77; }
    if [ "$status" -ne 0 ] || ! grep -q 'accelerator kvm failed' <<<"$output" \
        || ! grep -q 'PASS: guest tests against vivid (accelerator tcg)' <<<"$output"; then
        echo "FAIL ($mode): status $status after $seconds s"
        echo "$output" | tail -n 15
        failures=$((failures + 1))
    else
        echo "ok ($mode): $(grep 'accelerator kvm failed' <<<"$output") — fell back after $seconds s"
    fi
done
# The first run keeps its verdict (KVM fails with an error); the second,
# whose KVM would pass the probe, takes the kept verdict without probing.
for mode in error silent; do
    output=$(FAKE_QEMU_KVM=$mode TARVELLO_VM_QEMU="$here/fake-qemu.sh" TARVELLO_VM_KVM_DEVICE="$kvm" \
        TARVELLO_VM_ACCEL=auto TARVELLO_VM_ACCEL_VERDICT="$verdict" "$runner" "$guest" "$cache" 2>&1)
    status=$?
done
if [ "$status" -ne 0 ] || ! grep -q "accelerator kvm failed: qemu reported: .*(verdict kept in $verdict)" <<<"$output"; then
    echo "FAIL (kept verdict): status $status"
    echo "$output" | tail -n 15
    failures=$((failures + 1))
else
    echo "ok (kept verdict): $(grep 'accelerator kvm failed' <<<"$output")"
fi
exit $((failures > 0))
