#!/usr/bin/env bash
# Builds everything from scratch with AddressSanitizer and
# UndefinedBehaviorSanitizer and runs every test.
set -euo pipefail
cd "$(dirname "$0")"

scripts/install-deps.sh build test vivid
rm -rf build-test
cmake -S . -B build-test -DCMAKE_BUILD_TYPE=Debug -DTARVELLO_SANITIZE=ON -DTARVELLO_BUILD_PYTHON=ON >/dev/null
cmake --build build-test -j2
cd build-test
ctest --output-on-failure
