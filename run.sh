#!/usr/bin/env bash
# Builds Tarvello Center and starts it. With no camera connected it shows the
# built-in virtual camera. With no display it runs under a virtual X server,
# starts the stream, saves tarvello-center-screenshot.png and exits.
set -euo pipefail
cd "$(dirname "$0")"
top=$PWD

scripts/install-deps.sh build run
cmake -S . -B build-run -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTARVELLO_BUILD_TESTS=OFF \
    -DTARVELLO_BUILD_GSTREAMER=OFF >/dev/null
cmake --build build-run -j2 --target tarvello-center

export IMAGEACQUISITION_VIRTUAL_CAMERAS=${IMAGEACQUISITION_VIRTUAL_CAMERAS:-1}
bindir=$top/build-run/app
if [ -n "${DISPLAY:-}" ] && [ "${CI:-}" != "true" ]; then
    # The serial console runs "./fuser", which the build puts beside the program.
    cd "$bindir"
    exec ./tarvello-center "$@"
fi
exec scripts/headless-screenshot.sh "$bindir" "$top/tarvello-center-screenshot.png"
