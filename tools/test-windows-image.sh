#!/usr/bin/env bash
# The image component on Windows under Wine: builds tests/windows/image (the GDI+ check, linked
# with the image layer directly) in a 64-bit cross build, runs it on a copy of tests/data/image and
# passes only when its output ends with "image check: passed"; Wine's exit status says nothing.
# Usage: tools/test-windows-image.sh [BUILD_DIR]   (default: build-win64-image/ in the repository)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-"$root/build-win64-image"}
wine=/usr/lib/wine/wine64
[ -x "$wine" ] || { echo "test-windows-image: wine64 missing (Debian's wine64 package)" >&2; exit 1; }

# A tree that is there already (the x86_64 tree of tools/build-windows.sh) keeps its configuration
# and its built library; only the check is added to it.
config=(-DTAGVERA_WINDOWS_IMAGE_CHECK=ON)
[ -f "$build/CMakeCache.txt" ] || config+=(-DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchains/x86_64-w64-mingw32.cmake"
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTAGVERA_TESTS=OFF)
cmake -S "$root" -B "$build" "${config[@]}" >/dev/null
cmake --build "$build" --target tagvera_image_check -j2 >/dev/null

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r "$root/tests/data/image" "$work/fixtures"
mkdir "$work/scratch"
# A Wine prefix takes some 700 MB: one per build tree, made on the first run, unless one is given.
export WINEPREFIX=${WINEPREFIX:-"$build/wine-prefix"}
output=$(cd "$work" && WINEDEBUG=-all "$wine" "$build/tests/windows/image/tagvera_image_check.exe" \
  fixtures scratch 2>/dev/null | tr -d '\r' || true)
printf '%s\n' "$output"
[ "$(printf '%s\n' "$output" | tail -n 1)" = "image check: passed" ]
