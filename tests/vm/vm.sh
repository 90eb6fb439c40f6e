# Sourced by the virtual-machine test runners (tests/v4l2/run-vivid-vm.sh,
# tests/usbcamera/run-usbcamera-vm.sh): Debian's kernel package unpacked into
# the build tree, a busybox initramfs, qemu, and the choice of accelerator.
#
# What the runs share lives in the build tree and is made once under a lock,
# so two tests started side by side by ctest -j2 do not pay twice:
#   TARVELLO_VM_KERNEL        the unpacked kernel and its modules
#   TARVELLO_VM_ACCEL_VERDICT whether KVM works on this machine
# Settings: TARVELLO_VM_ACCEL=kvm|tcg|auto, TARVELLO_VM_TIMEOUT (300 s in
# all), TARVELLO_VM_SILENCE (60 s without output), TARVELLO_VM_QEMU and
# TARVELLO_VM_KVM_DEVICE (stand-ins, for the test of the fall-back).
# The guest's init prints TARVELLO-GUEST-BOOT when it starts and
# TARVELLO-GUEST-STATUS: N when it is done.

# Byte-wise matching for the search in the compressed kernel.
export LC_ALL=C

vm_skip() {
    echo "SKIP: $*"
    exit 77
}

# Skips (exit 77) unless the tools and qemu are there.
vm_check_tools() {
    local tool
    for tool in busybox depmod modprobe cpio xz dpkg-deb ldd timeout flock; do
        command -v "$tool" >/dev/null 2>&1 || PATH=$PATH:/sbin:/usr/sbin
        command -v "$tool" >/dev/null 2>&1 \
            || vm_skip "'$tool' is missing; install the test tools with scripts/install-deps.sh vivid"
    done
    command -v "${TARVELLO_VM_QEMU:-qemu-system-x86_64}" >/dev/null 2>&1 \
        || vm_skip "qemu-system-x86_64 is missing; install the test tools with scripts/install-deps.sh vivid"
    vm_busybox=$(command -v busybox)
    if ldd "$vm_busybox" >/dev/null 2>&1; then
        vm_skip "$vm_busybox is not statically linked; install busybox-static"
    fi
}

# The module folders the tests' guests need, unpacked once for all of them.
vm_module_folders=(drivers/media drivers/usb drivers/virtio fs/9p fs/netfs fs/fscache net/9p)

# vm_prepare_kernel DIR: Debian's current image package unpacked into DIR
# (without its maintainer scripts, no initramfs generation); sets vm_kernel
# (the image qemu boots) and vm_kver.
vm_prepare_kernel() {
    vm_kernel_root=$1
    mkdir -p "$vm_kernel_root"
    vm_kernel_root=$(readlink -f "$vm_kernel_root")
    local wanted="${vm_module_folders[*]}" status=0
    (
        flock 9
        [ -f "$vm_kernel_root/ready" ] && [ "$(sed -n 2p "$vm_kernel_root/ready")" = "$wanted" ] && exit 0
        package=$(apt-cache depends linux-image-amd64 2>/dev/null \
                  | awk '/Depends: linux-image-[0-9]/ { print $2; exit }')
        [ -n "$package" ] || { echo "SKIP: apt cannot name Debian's kernel package (run apt-get update)"; exit 77; }
        find "$vm_kernel_root" -mindepth 1 -maxdepth 1 ! -name lock -exec rm -rf {} +
        deb=$(ls /var/cache/apt/archives/"$package"_*.deb 2>/dev/null | head -n 1 || true)
        if [ -z "$deb" ]; then
            (cd "$vm_kernel_root" && timeout 120 apt-get download "$package" >/dev/null 2>&1) \
                || { echo "SKIP: $package is neither in apt's cache nor downloadable (scripts/install-deps.sh vivid caches it)"; exit 77; }
            deb=$(ls "$vm_kernel_root/$package"_*.deb | head -n 1)
        fi
        patterns=('./boot/vmlinuz-*' './lib/modules/*/modules.builtin*' './lib/modules/*/modules.order')
        for folder in "${vm_module_folders[@]}"; do
            patterns+=("./lib/modules/*/kernel/$folder/*")
        done
        dpkg-deb --fsys-tarfile "$deb" | tar -x -C "$vm_kernel_root" --wildcards "${patterns[@]}"
        rm -f "$vm_kernel_root/$package"_*.deb
        kver=$(basename "$(ls -d "$vm_kernel_root"/lib/modules/*)")
        depmod -b "$vm_kernel_root" "$kver"
        # The uncompressed kernel has a PVH entry point that qemu boots
        # directly, which saves the decompression inside the slow emulated
        # CPU. xz reports the padding after the stream as an error; the
        # kernel itself is whole.
        vmlinuz=$vm_kernel_root/boot/vmlinuz-$kver
        offset=$(grep -obUaP '\xfd7zXZ' "$vmlinuz" | head -n 1 | cut -d: -f1 || true)
        if [ -n "$offset" ]; then
            tail -c +$((offset + 1)) "$vmlinuz" | xz -dc >"$vm_kernel_root/vmlinux" 2>/dev/null || true
            head -c 4 "$vm_kernel_root/vmlinux" | grep -q ELF || rm -f "$vm_kernel_root/vmlinux"
        fi
        printf '%s\n%s\n' "$kver" "$wanted" >"$vm_kernel_root/ready"
    ) 9>"$vm_kernel_root/lock" || status=$?
    [ "$status" -eq 77 ] && exit 77
    [ "$status" -eq 0 ] || { echo "FAIL: could not unpack the kernel"; exit 1; }
    vm_kver=$(head -n 1 "$vm_kernel_root/ready")
    vm_kernel=$vm_kernel_root/vmlinux
    [ -f "$vm_kernel" ] || vm_kernel=$vm_kernel_root/boot/vmlinuz-$vm_kver
}

# vm_new_stage DIR: an initramfs tree with busybox and the init script.
vm_new_stage() {
    vm_stage=$1
    rm -rf "$vm_stage"
    mkdir -p "$vm_stage"/{bin,dev,proc,sys,tmp,modules,lib64,lib/x86_64-linux-gnu}
    cp "$vm_busybox" "$vm_stage/bin/busybox"
    cp "$2" "$vm_stage/init"
    chmod +x "$vm_stage/init"
}

# vm_add_program FILE NAME: a program with its shared libraries, flattened
# into the two folders the dynamic loader searches by default.
vm_add_program() {
    cp "$1" "$vm_stage/bin/$2"
    ldd "$1" | awk '$2 == "=>" && $3 ~ /^\// { print $3 } $1 ~ /^\// { print $1 }' | while read -r lib; do
        case "$lib" in
        */ld-linux-x86-64.so.2) cp -L "$lib" "$vm_stage/lib64/ld-linux-x86-64.so.2" ;;
        *) [ -e "$vm_stage/lib/x86_64-linux-gnu/$(basename "$lib")" ] || cp -L "$lib" "$vm_stage/lib/x86_64-linux-gnu/" ;;
        esac
    done
}

# vm_add_modules MODULE...: the modules and what they need, in load order
# (modules/load-order), uncompressed.
vm_add_modules() {
    local module name
    for module in "$@"; do
        modprobe -d "$vm_kernel_root" -S "$vm_kver" --show-depends "$module" | awk '/^insmod/ { print $2 }' \
            || { echo "FAIL: $module is not in $vm_kver"; exit 1; }
    done | awk '!seen[$0]++' | while read -r module; do
        name=$(basename "$module")
        case "$name" in
        *.xz) xz -dc "$module" >"$vm_stage/modules/${name%.xz}"; name=${name%.xz} ;;
        *) cp "$module" "$vm_stage/modules/$name" ;;
        esac
        echo "$name" >>"$vm_stage/modules/load-order"
    done
}

# vm_pack CPIO: the initramfs archive of the stage.
vm_pack() {
    vm_initramfs=$1
    (cd "$vm_stage" && find . | cpio -o -H newc --quiet) >"$vm_initramfs"
}

# KVM is used only when it works. A /dev/kvm that opens does not prove it:
# nested KVM on some cloud machines stops the guest right after boot with
# "KVM internal error ... emulation failure", or runs nothing at all, and
# qemu then sits idle; "-accel kvm -accel tcg" falls back only when /dev/kvm
# cannot be opened. So the kernel alone is booted under KVM first, which
# takes well under a second where KVM works; the verdict is kept in the
# build tree for the other runs. A run under KVM that still fails is started
# again on the emulated CPU, which runs these tests in a minute or two.
vm_probe_kvm() {
    local log=$1.log errors=$1.err pid start
    : >"$log"
    : >"$errors"
    "$vm_qemu" -accel kvm -m 256 -nodefaults -display none -no-reboot -serial "file:$log" \
        -kernel "$vm_kernel" -append "console=ttyS0 earlyprintk=ttyS0 panic=-1" </dev/null >/dev/null 2>"$errors" &
    pid=$!
    start=$(date +%s)
    vm_probe_verdict=""
    while [ -z "$vm_probe_verdict" ]; do
        sleep 0.1
        if grep -q 'Linux version' "$log" 2>/dev/null; then
            vm_probe_verdict=kvm
        elif grep -qiE 'KVM internal error|emulation failure|failed to initialize kvm|Could not access KVM' \
            "$errors" "$log" 2>/dev/null; then
            vm_probe_verdict="tcg qemu reported: $(grep -hiE 'KVM|emulation' "$errors" "$log" | head -n 1)"
        elif ! kill -0 "$pid" 2>/dev/null; then
            vm_probe_verdict="tcg qemu ended before the kernel printed anything"
        elif [ $(($(date +%s) - start)) -ge "${TARVELLO_VM_PROBE_SECONDS:-6}" ]; then
            vm_probe_verdict="tcg the kernel printed nothing within ${TARVELLO_VM_PROBE_SECONDS:-6} s"
        fi
    done
    kill "$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
    rm -f "$log" "$errors"
}

# vm_choose_accelerators WORKDIR: sets vm_accelerators, in the order to try.
vm_choose_accelerators() {
    vm_qemu=${TARVELLO_VM_QEMU:-qemu-system-x86_64}
    case "${TARVELLO_VM_ACCEL:-auto}" in
    kvm) vm_accelerators=(kvm); return ;;
    tcg) vm_accelerators=(tcg); return ;;
    auto) ;;
    *) echo "FAIL: TARVELLO_VM_ACCEL must be kvm, tcg or auto"; exit 1 ;;
    esac
    local kvm_device=${TARVELLO_VM_KVM_DEVICE:-/dev/kvm}
    if [ ! -r "$kvm_device" ] || [ ! -w "$kvm_device" ]; then
        echo "no usable $kvm_device: the emulated CPU runs the guest"
        vm_accelerators=(tcg)
        return
    fi
    # Without a place to keep it, the verdict is made anew each run.
    local verdict_file=${TARVELLO_VM_ACCEL_VERDICT:-}
    local verdict kept=""
    if [ -n "$verdict_file" ]; then
        {
            verdict=$(
                flock 9
                if [ ! -s "$verdict_file" ]; then
                    vm_probe_kvm "$1/kvm-probe"
                    echo "$vm_probe_verdict" >"$verdict_file"
                fi
                cat "$verdict_file"
            )
        } 9>"$verdict_file.lock"
        kept=" (verdict kept in $verdict_file)"
    else
        vm_probe_kvm "$1/kvm-probe"
        verdict=$vm_probe_verdict
    fi
    if [ "$verdict" = kvm ]; then
        vm_accelerators=(kvm tcg)
    else
        echo "accelerator kvm failed: ${verdict#tcg }$kept"
        vm_accelerators=(tcg)
    fi
}

# vm_boot ACCEL LOG QEMU_ARGS...: 0 when the guest reported a status
# (vm_status), 1 otherwise with the reason in vm_verdict.
vm_boot() {
    local accel=$1 log=$2 start now last_change size last_size=-1 pid boot_seconds
    shift 2
    local errors=$log.qemu timeout_seconds=${TARVELLO_VM_TIMEOUT:-300} silence_seconds=${TARVELLO_VM_SILENCE:-60}
    # Until the guest's init speaks: seconds under KVM, a little longer on
    # the emulated CPU, whose boot is slow on a slow machine.
    boot_seconds=${TARVELLO_VM_BOOT_TIMEOUT:-$([ "$accel" = kvm ] && echo 15 || echo 60)}
    : >"$log"
    : >"$errors"
    "$vm_qemu" -accel "$accel" -nodefaults -display none -no-reboot \
        -chardev stdio,id=console,signal=off -serial chardev:console \
        -kernel "$vm_kernel" -initrd "$vm_initramfs" "$@" </dev/null >"$log" 2>"$errors" &
    pid=$!
    start=$(date +%s)
    last_change=$start
    vm_verdict=""
    while kill -0 "$pid" 2>/dev/null; do
        sleep 0.2
        now=$(date +%s)
        if grep -qiE 'KVM internal error|emulation failure|failed to initialize kvm|Could not access KVM' \
            "$errors" "$log" 2>/dev/null; then
            vm_verdict="qemu reported: $(grep -hiE 'KVM internal error|emulation failure|kvm' "$errors" "$log" | head -n 1)"
        elif ! grep -q '^TARVELLO-GUEST-BOOT' "$log" && [ $((now - start)) -ge "$boot_seconds" ]; then
            vm_verdict="the guest did not start its tests within $boot_seconds s"
        elif [ $((now - start)) -ge "$timeout_seconds" ]; then
            vm_verdict="the virtual machine did not finish within $timeout_seconds s"
        else
            size=$(stat -c %s "$log")
            if [ "$size" -ne "$last_size" ]; then
                last_size=$size
                last_change=$now
            elif [ $((now - last_change)) -ge "$silence_seconds" ]; then
                vm_verdict="the guest printed nothing for $silence_seconds s"
            fi
        fi
        [ -z "$vm_verdict" ] && continue
        kill "$pid" 2>/dev/null || true
        break
    done
    local qemu_status=0
    wait "$pid" 2>/dev/null || qemu_status=$?
    tr -d '\r' <"$log"
    sed 's/^/qemu: /' "$errors" | head -n 20
    echo "virtual machine ($accel) ran $(($(date +%s) - start)) s (qemu status $qemu_status)"
    vm_status=$(tr -d '\r' <"$log" | sed -n 's/^TARVELLO-GUEST-STATUS: \([0-9]*\)$/\1/p' | tail -n 1)
    [ -n "$vm_status" ] && return 0
    [ -n "$vm_verdict" ] || vm_verdict="qemu ended (status $qemu_status) before the guest reported a status"
    return 1
}

# vm_run LOG QEMU_ARGS...: boots with each accelerator in turn until one
# reports; sets vm_status and vm_accel, or fails the test.
vm_run() {
    local log=$1
    shift
    vm_status=""
    for vm_accel in "${vm_accelerators[@]}"; do
        echo "=== booting the guest with accelerator $vm_accel"
        vm_boot "$vm_accel" "$log" "$@" && return 0
        echo "accelerator $vm_accel failed: $vm_verdict"
    done
    echo "FAIL: $vm_verdict"
    exit 1
}
