#!/usr/bin/env bash
# The platform layer's tests (tests/platform) built for 64-bit Windows and run under wine64: files
# through the wide calls, the safe-write helper with its faults and kills, locks, journals, the
# registry preferences. Wine's exit status says nothing (it exits 0 when it cannot start a program
# at all), so the GoogleTest summary decides: a PASSED line and no FAILED line.
# Usage: tools/test-windows-platform.sh [BUILD_DIR]   (default: build-win64-platform-tests)
# The build's own output goes to BUILD_DIR/platform_tests_windows.build.log.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(realpath -m "${1:-$root/build-win64-platform-tests}")
wine=/usr/lib/wine/wine64
[ -x "$wine" ] || { echo "test-windows-platform: wine64 is missing (tools/setup-debian.sh --packages wine64)"; exit 1; }

# A tree that is there already (the x86_64 tree of tools/build-windows.sh) keeps its configuration
# and its built library; only the tests are added to it.
config=(-DTAGVERA_WINDOWS_PLATFORM_TESTS=ON)
[ -f "$build/CMakeCache.txt" ] || config+=(-DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchains/x86_64-w64-mingw32.cmake"
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTAGVERA_TESTS=OFF -DTAGVERA_WERROR=ON)
cmake -S "$root" -B "$build" "${config[@]}" >/dev/null
cmake --build "$build" --target platform_tests_windows -j"$(nproc)" >"$build/platform_tests_windows.build.log" 2>&1 ||
  { tail -n 40 "$build/platform_tests_windows.build.log"; echo "test-windows-platform: the build failed"; exit 1; }

log="$build/platform_tests_windows.log"
export WINEDEBUG=-all
export WINEPREFIX="${WINEPREFIX:-$build/wine}"
# RunsAsAChild is the kill tests' own child, started by them.
"$wine" "$build/tests/windows/platform/platform_tests_windows.exe" --gtest_filter=-*RunsAsAChild* >"$log" 2>&1 || true
grep -E '^\[  (PASSED|FAILED) ' "$log" || true
if grep -q '^\[  PASSED  \]' "$log" && ! grep -q '^\[  FAILED  \]' "$log"; then
  echo "test-windows-platform: passed"
  exit 0
fi
echo "test-windows-platform: failed (the whole output is in $log)"
tail -n 40 "$log"
exit 1
