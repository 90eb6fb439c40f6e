#!/usr/bin/env bash
# Builds the Debian package of Tarvello Center: build-pkg/tarvello-center_<version>-1_<arch>.deb
set -euo pipefail
cd "$(dirname "$0")"

scripts/install-deps.sh build gstreamer package
cmake -S . -B build-pkg -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
      -DTARVELLO_SANITIZE=OFF -DTARVELLO_BUILD_TESTS=OFF -DTARVELLO_BUILD_BENCH=OFF -DTARVELLO_BUILD_PYTHON=ON >/dev/null
cmake --build build-pkg -j2
cd build-pkg
cpack -G DEB
