#!/usr/bin/env bash
# Cross-builds tagvera for Windows with Debian's mingw-w64: OUT/build-win32/ (i686, the plug-in
# hosts load) and OUT/build-win64/ (x86_64, which Wine runs here), tests off, then checks each
# tagvera.dll's exports and imports. Installs the toolchains first when they are missing; nothing
# is fetched from anywhere but Debian's archive.
# Usage: tools/build-windows.sh [--out DIR] [--all] [--debug] [--configure-only] [cmake --build args...]
#   --out DIR         the output root (default: the repository)
#   --all             every target, not only what ships and what the Wine run needs
#   --debug           with debug information (-O2 -g), for a debugger under Wine; much slower
#   --configure-only  configure both trees, build nothing
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

out=$root target=(--target tagvera_windows) build_type=Release configure_only=0
while [ $# -gt 0 ]; do
  case "$1" in
    --out) out=${2:?--out needs a directory}; shift 2 ;;
    --all) target=(); shift ;;
    --debug) build_type=RelWithDebInfo; shift ;;
    --configure-only) configure_only=1; shift ;;
    *) break ;;
  esac
done
mkdir -p "$out"
out=$(cd "$out" && pwd)

# The posix threading flavour: the library uses std::thread and std::mutex, which GCC 12's win32
# flavour does not provide.
"$root/tools/setup-debian.sh" --packages cmake g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix \
  libz-mingw-w64-dev

# The frozen layout and every operation's slot as the 32-bit Windows compiler lays them out.
abi_work="$out/build-win32/abi"
mkdir -p "$abi_work"
sh "$root/tests/package/abi_slot_list.sh" "$abi_work/abi_slot_list.h" "$root"/include/tagvera/*.h
"$root/tests/package/abi_32bit.sh" i686-w64-mingw32-g++-posix "$root/include" "$root/tests/package" \
  "$abi_work" "$abi_work/abi_slot_list.h"

# Release at -O2, not CMake's -O3: the same code as the Linux build, and debug information alone
# would make the objects thirty times larger and the build markedly slower.
status=0
for pair in i686:win32 x86_64:win64; do
  arch=${pair%%:*} dir="$out/build-${pair#*:}"
  cmake -S "$root" -B "$dir" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchains/$arch-w64-mingw32.cmake" \
    -DCMAKE_BUILD_TYPE=$build_type -DCMAKE_C_FLAGS_RELEASE="-O2 -DNDEBUG" \
    -DCMAKE_CXX_FLAGS_RELEASE="-O2 -DNDEBUG" -DTAGVERA_TESTS=OFF
  [ $configure_only = 1 ] && continue
  # Both are built even when the first fails, so that one run shows what each still lacks.
  start=$SECONDS
  if cmake --build "$dir" -j"$(nproc)" "${target[@]}" "$@"; then
    echo "build-windows: $dir built in $((SECONDS - start)) s"
    "$root/tools/check-windows-dll.sh" "$dir" || status=1
  else
    status=1
    echo "build-windows: $dir FAILED after $((SECONDS - start)) s"
  fi
done
exit $status
