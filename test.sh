#!/usr/bin/env bash
# Builds everything from scratch with AddressSanitizer and
# UndefinedBehaviorSanitizer and runs every test.
# Debug information is line tables only (-g1): enough for the sanitizers'
# reports, and the build takes less time than with full -g. Each library is
# compiled as a few large translation units (unity build): under the
# sanitizers each header and template costs about twice as much. The
# ordinary builds (run.sh, package.sh) still compile file by file, so a
# missing include shows there.
set -euo pipefail
cd "$(dirname "$0")"

scripts/install-deps.sh build gstreamer test vivid
rm -rf build-test
cmake -G Ninja -S . -B build-test -DCMAKE_BUILD_TYPE=Debug -DCMAKE_UNITY_BUILD=ON -DTARVELLO_SANITIZE=ON -DTARVELLO_BUILD_PYTHON=ON \
    -DTARVELLO_BUILD_BENCH=OFF -DCMAKE_CXX_FLAGS_DEBUG=-g1 >/dev/null
cmake --build build-test -j2
cd build-test
# Two at a time: many tests mostly wait (for frames, a virtual machine, a
# timer); the ones that share the serial line take turns (RESOURCE_LOCK).
ctest --output-on-failure -j2
