#!/usr/bin/env bash
# Runs the application under a virtual X server, starts the stream the way a
# user would (a click on Start), saves a screenshot and closes it again.
# Usage: scripts/headless-screenshot.sh BINARY_DIR SCREENSHOT.png [SECONDS]
set -euo pipefail
bindir=$(cd "$1" && pwd)
shot=$(realpath -m "$2")
seconds=${3:-4}

display=:$(( 90 + RANDOM % 100 ))
Xvfb "$display" -screen 0 1024x768x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
app=
cleanup() {
    [ -n "$app" ] && kill "$app" 2>/dev/null || true
    kill "$xvfb" 2>/dev/null || true
}
trap cleanup EXIT
export DISPLAY=$display
for _ in $(seq 50); do xdpyinfo >/dev/null 2>&1 && break; sleep 0.1; done 2>/dev/null || sleep 1

(cd "$bindir" && exec ./tarvello-center) &
app=$!
window=$(timeout 20 xdotool search --sync --onlyvisible --name '^Tarvello Center$' | head -n 1)
sleep 1.5
# Start sits first in the tool bar, at its left end.
xdotool mousemove --window "$window" 24 24 click 1
sleep "$seconds"
import -window "$window" "$shot"
echo "Screenshot saved to $shot"
# Quit sits at the right-hand end of the tool bar; closing through it lets the
# application stop the stream and release the camera as it does for a user.
xdotool mousemove --window "$window" 776 24 click 1
for _ in $(seq 50); do kill -0 "$app" 2>/dev/null || break; sleep 0.1; done
if kill -0 "$app" 2>/dev/null; then
    echo "The application did not quit; stopping it." >&2
else
    wait "$app" || echo "The application exited with status $?." >&2
    app=
fi
