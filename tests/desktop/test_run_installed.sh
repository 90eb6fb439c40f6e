#!/usr/bin/env bash
# Starts the installed program the way a desktop does: through the launcher,
# reached by a link from elsewhere, from an unrelated working directory, with
# one virtual camera and no display. It must come up, keep running, run in
# its own folder where "./fuser" is the system's fuser, and load the
# installed camera layer. Qt options given to the launcher must reach the
# program: the platform is chosen by -platform, not by the environment.
# Usage: test_run_installed.sh STAGE_PREFIX   (after desktop_install)
set -uo pipefail
. "$(dirname "$0")/checks.sh"
stage=$(cd "$1" && pwd)
pkglib=$stage/lib/tarvello-center

work=$(mktemp -d)
pid=
# The program runs in a session of its own, so that whatever the launcher
# left behind goes down with it.
cleanup() {
    [ -n "$pid" ] && kill -KILL -- "-$pid" 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT
mkdir -p "$work/my apps" "$work/elsewhere"
ln -s "$stage/bin/tarvello-center" "$work/my apps/tarvello-center"

cd "$work/elsewhere"
setsid env -u QT_QPA_PLATFORM -u DISPLAY -u WAYLAND_DISPLAY IMAGEACQUISITION_VIRTUAL_CAMERAS=1 \
    "../my apps/tarvello-center" -platform offscreen >"$work/out.txt" 2>"$work/err.txt" &
pid=$!

# Up to five seconds for the program to map its libraries, then two more
# in which it must stay up.
for _ in $(seq 50); do
    grep -q libimageacquisition "/proc/$pid/maps" 2>/dev/null && break
    sleep 0.1
done
sleep 2
if ! kill -0 "$pid" 2>/dev/null; then
    wait "$pid"; status=$?
    pid=
    fail "program exited early with status $status"
    cat "$work/err.txt" >&2
    finish
fi
check "launcher replaced itself by the installed program" \
    test "$(readlink "/proc/$pid/exe")" = "$pkglib/tarvello-center"
check "program runs in its own folder" test "$(readlink "/proc/$pid/cwd")" = "$pkglib"
check "./fuser from the program's folder is the system's fuser" \
    bash -c 'cd "/proc/$1/cwd" && ./fuser -V 2>&1 | grep -q PSmisc' _ "$pid"
check "camera layer is the installed one" \
    grep -qF "$pkglib/libimageacquisition.so" "/proc/$pid/maps"
check "working directory of the caller is left alone" test "$PWD" = "$work/elsewhere"

kill -TERM "$pid"
wait "$pid" 2>/dev/null
check "no sanitizer report while running" \
    bash -c '! grep -qE "ERROR: (Address|Leak)Sanitizer|runtime error:" "$1"' _ "$work/err.txt"
[ "$failures" -eq 0 ] || cat "$work/err.txt" >&2
finish
