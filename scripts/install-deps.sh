#!/usr/bin/env bash
# Installs the Debian packages a task needs, if any is missing.
# Usage: scripts/install-deps.sh GROUP...   (groups: build gstreamer run test package bench vivid)
set -euo pipefail

packages=()
# The vivid test downloads Debian's kernel package, so apt must know it.
needs_kernel_index=false
for group in "$@"; do
    case "$group" in
    build)
        packages+=(cmake make ninja-build g++ pkg-config qtbase5-dev qtbase5-dev-tools libqt5serialport5-dev
                   libv4l-dev libudev-dev libjpeg62-turbo-dev libturbojpeg0-dev psmisc fonts-dejavu-core
                   libavformat-dev libavcodec-dev libavutil-dev libswscale-dev
                   python3-dev pybind11-dev python3-numpy) ;;
    gstreamer)
        # The GStreamer plugin and the RTSP server (headers), and the
        # elements their pipelines, tests and README examples use: base
        # (videoconvert), good (JPEG, RTP, RTSP client, MP4), ugly (x264enc),
        # tools (gst-launch-1.0, gst-inspect-1.0), base-apps
        # (gst-device-monitor-1.0).
        packages+=(libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev libgstrtspserver-1.0-dev
                   gstreamer1.0-tools gstreamer1.0-plugins-base gstreamer1.0-plugins-good
                   gstreamer1.0-plugins-ugly gstreamer1.0-plugins-base-apps) ;;
    run)
        packages+=(xvfb xauth xdotool imagemagick) ;;
    test)
        # ffmpeg brings ffprobe, which examines what tarvello-ctl records.
        packages+=(xvfb xauth desktop-file-utils appstream groff-base dpkg-dev file ffmpeg python3-pytest) ;;
    package)
        packages+=(dpkg-dev file) ;;
    bench)
        # The live view is measured in the real window on a virtual X server.
        packages+=(xvfb) ;;
    vivid)
        # The virtual machine that tests the V4L2 backend against the kernel's
        # vivid driver. The kernel itself is not installed: the test unpacks
        # Debian's image package into the build tree.
        # udev: the emulated camera's machine runs its udevd with the
        # package's rule.
        packages+=(qemu-system-x86 busybox-static kmod cpio xz-utils udev)
        needs_kernel_index=true ;;
    *)
        echo "install-deps: unknown group '$group'" >&2
        exit 2 ;;
    esac
done

missing=()
for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
        missing+=("$p")
    fi
done

# The kernel package that the vivid test boots, kept in apt's own cache so
# that the test itself never needs the network.
kernel_package() {
    apt-cache depends linux-image-amd64 2>/dev/null | awk '/Depends: linux-image-[0-9]/ { print $2; exit }'
}
kernel_cached() {
    local package
    package=$(kernel_package)
    [ -n "$package" ] && ls /var/cache/apt/archives/"$package"_*.deb >/dev/null 2>&1
}

stale_index=false
if $needs_kernel_index && [ -z "$(kernel_package)" ]; then
    stale_index=true
fi
if [ ${#missing[@]} -eq 0 ] && ! $stale_index && { ! $needs_kernel_index || kernel_cached; }; then
    exit 0
fi

[ ${#missing[@]} -eq 0 ] || echo "Installing: ${missing[*]}"
if [ "$(id -u)" -eq 0 ]; then
    apt_get=(apt-get -o DPkg::Lock::Timeout=600)
elif command -v sudo >/dev/null; then
    apt_get=(sudo apt-get -o DPkg::Lock::Timeout=600)
else
    if [ ${#missing[@]} -eq 0 ]; then
        # Only the vivid test's kernel is missing; that test says so itself.
        exit 0
    fi
    echo "install-deps: not root, cannot install (${missing[*]}) or update apt's index" >&2
    exit 1
fi
export DEBIAN_FRONTEND=noninteractive
if [ ${#missing[@]} -gt 0 ]; then
    "${apt_get[@]}" update -qq
elif $stale_index; then
    # Only the vivid test's kernel needs the index; without a mirror that
    # test skips and says why, the others do not care.
    "${apt_get[@]}" update -qq || echo "install-deps: apt-get update failed; the vivid test may be skipped" >&2
fi
if [ ${#missing[@]} -gt 0 ]; then
    "${apt_get[@]}" install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
if $needs_kernel_index && ! kernel_cached; then
    package=$(kernel_package)
    # Not fatal: without the package the vivid test skips and says why.
    "${apt_get[@]}" install -y -qq --download-only --no-install-recommends "$package" >/dev/null 2>&1 \
        || echo "install-deps: could not download $package; the vivid test will be skipped" >&2
fi
