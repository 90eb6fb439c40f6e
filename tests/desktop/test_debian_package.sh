#!/usr/bin/env bash
# Builds the Debian package with CPack and checks its contents list, its
# control fields (the run-time dependencies above all) and that the program
# in it finds all its libraries.
# Usage: test_debian_package.sh BUILD_DIR OUTPUT_DIR VERSION
set -uo pipefail
. "$(dirname "$0")/checks.sh"
build=$1 out=$2 version=$3
skip_without dpkg-shlibdeps dpkg-dev
skip_without file file

rm -rf "$out"
(cd "$build" && cpack -G DEB -B "$out" >"$out.log" 2>&1) || { cat "$out.log" >&2; echo "FAIL: cpack" >&2; exit 1; }
deb=$(ls "$out"/tarvello-center_*.deb 2>/dev/null)
[ -f "$deb" ] || { echo "FAIL: no package in $out" >&2; exit 1; }

contents=$(dpkg-deb -c "$deb")
for path in ./usr/bin/tarvello-center \
            ./usr/bin/tarvello-ctl \
            ./usr/lib/tarvello-center/tarvello-center \
            ./usr/lib/tarvello-center/tarvello-ctl \
            ./usr/share/man/man1/tarvello-ctl.1.gz \
            ./usr/share/bash-completion/completions/tarvello-ctl \
            ./usr/lib/tarvello-center/libimageacquisition.so \
            ./usr/lib/tarvello-center/libtarvello-common.so \
            ./usr/lib/udev/rules.d/70-tarvello-center.rules \
            ./usr/share/applications/com.kelvane.TarvelloCenter.desktop \
            ./usr/share/metainfo/com.kelvane.TarvelloCenter.metainfo.xml \
            ./usr/share/icons/hicolor/48x48/apps/tarvello-center.png \
            ./usr/share/icons/hicolor/scalable/apps/tarvello-center.svg \
            ./usr/share/man/man1/tarvello-center.1.gz; do
    check "package holds $path" grep -qE " $path( |$)" <<<"$contents"
done
check "package links fuser to the system's one" \
    grep -qE " ./usr/lib/tarvello-center/fuser -> /(usr/)?s?bin/fuser$" <<<"$contents"
check "launcher and program are executable" \
    bash -c '[ "$(grep -cE "^-rwxr-xr-x .* ./usr/(bin|lib/tarvello-center)/tarvello-center$" <<<"$1")" -eq 2 ]' _ "$contents"
python_built=false
[ -d "$build/python/tarvello" ] && python_built=true
if $python_built; then
    check "package holds the Python module" \
        grep -qE " ./usr/lib/python3/dist-packages/tarvello/_native\.cpython-[^ ]+\.so$" <<<"$contents"
    for file in __init__.py __init__.pyi py.typed; do
        check "package holds tarvello/$file" grep -qE " ./usr/lib/python3/dist-packages/tarvello/$file$" <<<"$contents"
    done
fi
if [ -d "$build/gst" ]; then
    check "package holds the GStreamer plugin in the system's plugin folder" \
        grep -qE " ./usr/lib/[^ ]*/gstreamer-1.0/libgsttarvello\.so$" <<<"$contents"
    for path in ./usr/bin/tarvello-serve ./usr/lib/tarvello-center/tarvello-serve ./usr/share/man/man1/tarvello-serve.1.gz; do
        check "package holds $path" grep -qE " $path( |$)" <<<"$contents"
    done
fi
check "every file belongs to root" bash -c '! grep -v " root/root " <<<"$1"' _ "$contents"
check "nothing outside /usr" bash -c '! grep -vE " \./(usr/.*)?( |$)" <<<"$1"' _ "$contents"

check "package name" test "$(dpkg-deb -f "$deb" Package)" = tarvello-center
check "package version" test "$(dpkg-deb -f "$deb" Version)" = "$version-1"
check "package section" test "$(dpkg-deb -f "$deb" Section)" = video
depends=$(dpkg-deb -f "$deb" Depends)
echo "Depends: $depends"
# One package name a line, alternatives included, versions dropped.
names=$(tr ',|' '\n\n' <<<"$depends" | awk '{print $1}')
for dep in psmisc libc6 libstdc++6 libqt5core5a libqt5gui5 libqt5widgets5 libqt5serialport5; do
    check "package depends on $dep" grep -qxF "$dep" <<<"$names"
done
if [ -d "$build/gst" ]; then
    for dep in libgstreamer1.0-0 libgstrtspserver-1.0-0; do
        check "package depends on $dep" grep -qxF "$dep" <<<"$names"
    done
    check "package recommends x264enc's plugins" bash -c 'dpkg-deb -f "$1" Recommends | grep -q gstreamer1.0-plugins-ugly' _ "$deb"
fi
check "private libraries are no dependency" bash -c '! grep -qE "imageacquisition|tarvello" <<<"$1"' _ "$depends"

control=$out/control
dpkg-deb -e "$deb" "$control"
for script in postinst postrm; do
    check "$script passes the shell's syntax check" sh -n "$control/$script"
    check "$script does not call ldconfig" bash -c '! grep -v "^#" "$1" | grep -q ldconfig' _ "$control/$script"
done

root=$out/root
dpkg-deb -x "$deb" "$root"
check "packaged program finds all its libraries" \
    bash -c '! ldd "$1" | grep -q "not found"' _ "$root/usr/lib/tarvello-center/tarvello-center"
if [ -d "$build/gst" ]; then
    check "packaged GStreamer plugin finds the camera layer" \
        bash -c '[ "$(readlink -f "$(ldd "$1" | sed -n "s/.*libimageacquisition.so => \(.*\) (0x.*/\1/p")")" = "$(readlink -f "$2")/usr/lib/tarvello-center/libimageacquisition.so" ] && ! ldd "$1" | grep -q "not found"' \
        _ "$(ls "$root"/usr/lib/*/gstreamer-1.0/libgsttarvello.so)" "$root"
fi
if $python_built; then
    check "packaged Python module finds the camera layer" \
        bash -c 'ldd "$1" | grep -qF "libimageacquisition.so => $2/" && ! ldd "$1" | grep -q "not found"' \
        _ "$(ls "$root"/usr/lib/python3/dist-packages/tarvello/_native.*.so)" "$root"
fi
finish
