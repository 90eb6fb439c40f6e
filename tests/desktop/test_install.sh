#!/usr/bin/env bash
# Installs the build into a fresh prefix (a path with a blank in it, as users
# have) and checks what landed there: the launcher, the private folder with
# the program, its fuser and the camera layer, the desktop files and the
# udev rule generated from the camera layer's vendor id.
# Usage: test_install.sh CMAKE BUILD_DIR STAGE_PREFIX KELVANE_HEADER
set -uo pipefail
. "$(dirname "$0")/checks.sh"
cmake=$1 build=$2 stage=$3 header=$4

rm -rf "$stage"
"$cmake" --install "$build" --prefix "$stage" >/dev/null || { echo "FAIL: cmake --install" >&2; exit 1; }

pkglib=$stage/lib/tarvello-center
check "launcher is an executable shell script" \
    bash -c '[ -x "$1" ] && head -n 1 "$1" | grep -q "^#!/bin/sh"' _ "$stage/bin/tarvello-center"
check "launcher passes the shell's syntax check" sh -n "$stage/bin/tarvello-center"
check "program is installed in the private folder" test -x "$pkglib/tarvello-center"
for lib in libimageacquisition.so libtarvello-common.so; do
    check "$lib sits beside the program" test -f "$pkglib/$lib"
    check "$lib is not in the public library folder" test ! -e "$stage/lib/$lib"
done
check "fuser beside the program is a link" test -L "$pkglib/fuser"
check "fuser link points at the system's fuser" bash -c '"$1" -V 2>&1 | grep -q PSmisc' _ "$pkglib/fuser"

# The installed program must load the installed libraries, never those of
# the build tree it came from.
for elf in tarvello-center libimageacquisition.so; do
    check "$elf looks for libraries beside itself" \
        bash -c 'readelf -d "$1" | grep -E "R(UN)?PATH" | grep -qF "[\$ORIGIN]"' _ "$pkglib/$elf"
done
deps=$(ldd "$pkglib/tarvello-center")
check "every library of the program is found" bash -c '! grep -q "not found" <<<"$1"' _ "$deps"
for lib in libimageacquisition.so libtarvello-common.so; do
    check "$lib is loaded from the private folder" grep -qF "$lib => $pkglib/$lib (" <<<"$deps"
done

check "desktop entry is installed" test -f "$stage/share/applications/com.kelvane.TarvelloCenter.desktop"
check "metainfo is installed" test -f "$stage/share/metainfo/com.kelvane.TarvelloCenter.metainfo.xml"
for size in 16 24 32 48 64 128 256; do
    icon=$stage/share/icons/hicolor/${size}x${size}/apps/tarvello-center.png
    check "icon of $size px is a $size x $size PNG" \
        bash -c 'file "$1" | grep -q "PNG image data, $2 x $2,"' _ "$icon" "$size"
done
check "scalable icon is an SVG" \
    grep -q '<svg' "$stage/share/icons/hicolor/scalable/apps/tarvello-center.svg"
check "man page is compressed and intact" gzip -t "$stage/share/man/man1/tarvello-center.1.gz"

# tarvello-ctl: beside the program, reached through its own launcher, which
# keeps the caller's working directory for the files it is given.
check "tarvello-ctl is installed in the private folder" test -x "$pkglib/tarvello-ctl"
check "tarvello-ctl finds every library" bash -c '! ldd "$1" | grep -q "not found"' _ "$pkglib/tarvello-ctl"
check "tarvello-ctl launcher passes the shell's syntax check" sh -n "$stage/bin/tarvello-ctl"
work=$(mktemp -d)
check "tarvello-ctl launcher runs it from the caller's folder" \
    bash -c 'cd "$2" && IMAGEACQUISITION_VIRTUAL_CAMERAS=1 "$1" profile save here.json >/dev/null && test -s here.json' \
    _ "$stage/bin/tarvello-ctl" "$work"
rm -rf "$work"
check "tarvello-ctl man page is compressed and intact" gzip -t "$stage/share/man/man1/tarvello-ctl.1.gz"
check "tarvello-ctl man page renders without warnings" \
    bash -c 'out=$(zcat "$1" | groff -man -Tutf8 -ww -z 2>&1) && [ -z "$out" ]' _ "$stage/share/man/man1/tarvello-ctl.1.gz"
check "bash completion is installed and parses" bash -n "$stage/share/bash-completion/completions/tarvello-ctl"

# The GStreamer plugin in GStreamer's plugin directory under the prefix,
# finding the camera layer in the private folder; tarvello-serve beside
# the program. Both only in builds with GStreamer.
if [ -e "$stage/bin/tarvello-serve" ]; then
    plugin=$(find "$stage/lib" -path "*/gstreamer-1.0/libgsttarvello.so" | head -n 1)
    check "the GStreamer plugin is in a gstreamer-1.0 folder of the prefix" test -f "$plugin"
    check "the plugin finds every library" bash -c '! ldd "$1" | grep -q "not found"' _ "$plugin"
    check "the plugin loads the camera layer from the private folder" \
        bash -c '[ "$(readlink -f "$(ldd "$1" | sed -n "s/.*libimageacquisition.so => \(.*\) (0x.*/\1/p")")" = "$(readlink -f "$2")/libimageacquisition.so" ]' _ "$plugin" "$pkglib"
    check "the plugin looks for the layer relative to itself" \
        bash -c 'readelf -d "$1" | grep -E "R(UN)?PATH" | grep -qF "[\$ORIGIN/"' _ "$plugin"
    check "tarvello-serve is installed in the private folder" test -x "$pkglib/tarvello-serve"
    check "tarvello-serve launcher passes the shell's syntax check" sh -n "$stage/bin/tarvello-serve"
    check "tarvello-serve runs through its launcher" \
        bash -c '"$1" --help | grep -q "rtsp://HOST:PORT/SERIAL"' _ "$stage/bin/tarvello-serve"
    check "tarvello-serve man page renders without warnings" \
        bash -c 'out=$(zcat "$1" | groff -man -Tutf8 -ww -z 2>&1) && [ -z "$out" ]' _ "$stage/share/man/man1/tarvello-serve.1.gz"
fi

# The rule must carry the very vendor id the camera layer recognises.
rule=$stage/lib/udev/rules.d/70-tarvello-center.rules
vendor=$(sed -n 's/.*kKelvaneUsbVendorIdText *= *"\([0-9a-fA-F]*\)".*/\1/p' "$header")
check "vendor id is read from the camera layer's header" test -n "$vendor"
for subsystem in video4linux tty; do
    check "udev rule gives the seat's user the $subsystem nodes of vendor $vendor" \
        grep -qE "^SUBSYSTEM==\"$subsystem\", ATTRS\{idVendor\}==\"$vendor\", TAG\+=\"uaccess\"$" "$rule"
done
check "udev rule has no unconfigured placeholder" bash -c '! grep -qE "@|%" "$1"' _ "$rule"

# At plug the rule runs the stored-profile launcher for the capture node; it
# must hand the work off and return at once, and the work must end in time.
check "udev rule applies the stored profile of a new capture node" \
    grep -qF 'ATTR{index}=="0", RUN+="'"$pkglib/tarvello-apply-stored-profile"' $devnode"' "$rule"
launcher=$pkglib/tarvello-apply-stored-profile
check "stored-profile launcher passes the shell's syntax check" sh -n "$launcher"
check "stored-profile launcher refuses what is not a video node" bash -c '! "$1" /etc/passwd 2>/dev/null' _ "$launcher"
work=$(mktemp -d)
printf '#!/bin/sh\necho "$@" > "%s/args"\nsleep 30\necho late > "%s/late"\n' "$work" "$work" >"$work/ctl"
chmod +x "$work/ctl"
# A PATH without systemd-run, so that the session of its own is taken.
mkdir "$work/bin"
for tool in sh setsid timeout logger sleep; do ln -s "$(command -v "$tool")" "$work/bin/$tool"; done
started=$(date +%s%N)
PATH=$work/bin TARVELLO_CTL=$work/ctl TARVELLO_PROFILE_TIMEOUT=1 "$launcher" /dev/video7 >/dev/null 2>&1
returned=$(( ($(date +%s%N) - started) / 1000000 ))
check "stored-profile launcher returns at once (${returned} ms)" test "$returned" -lt 1000
for _ in $(seq 30); do [ -s "$work/args" ] && break; sleep 0.1; done
check "stored-profile launcher applies the system profile of the node" \
    grep -qx -- "-d /dev/video7 profile apply --stored --system" "$work/args"
sleep 1.5
check "stored-profile launcher's work is bounded in time" test ! -e "$work/late"
rm -rf "$work"
finish
