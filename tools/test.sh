#!/usr/bin/env bash
# Installs what is missing, builds tagvera with its tests, and runs the whole suite.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup-debian.sh
build=${TAGVERA_BUILD_DIR:-build}
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTAGVERA_WERROR=ON -DTAGVERA_TESTS=ON ${TAGVERA_CMAKE_ARGS:-}
cmake --build "$build" -j"$(nproc)"
tools/run-ctest.sh "$build" ${TAGVERA_CTEST_ARGS:-}
