#!/usr/bin/env bash
# Installs what building tagvera needs, builds the library and the command, and runs the command on
# the bundled samples. The build shows as one line of progress; its full log stays in build/.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup-debian.sh --build-only
# The tests stay on in a build folder that tools/test.sh made, and off otherwise: they need GoogleTest.
tests=OFF
grep -qs '^TAGVERA_TESTS:BOOL=ON' build/CMakeCache.txt && tests=ON
mkdir -p build
log=build/main-build.log
progress() {
    if [ -t 1 ]; then
        awk '/^\[ *[0-9]+%\]/ { printf "\rbuilding tagvera: %s", substr($0, 2, index($0, "]") - 2); fflush() } END { printf "\r\033[K" }'
    else
        echo "building tagvera (log: $log)"
        cat >/dev/null
    fi
}
if ! { cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTAGVERA_TESTS=$tests &&
       cmake --build build -j"$(nproc)" --target tagvera tagvera_cli tagvera_man; } 2>&1 | tee "$log" | progress; then
    echo "the build failed; the end of $log:" >&2
    tail -n 40 "$log" >&2
    exit 1
fi
echo "built build/src/libtagvera.so, build/cli/tagvera and its man page (log: $log)"
echo
build/cli/tagvera components
echo
build/cli/tagvera info samples/*
echo
build/cli/tagvera km samples/05-sample-clip.km
