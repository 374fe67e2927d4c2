#!/usr/bin/env bash
# Cross-builds tagvera for Windows with Debian's mingw-w64: build-win32/ (i686, the plug-in hosts
# load) and build-win64/ (x86_64, which Wine runs here), tests off. Installs the toolchains first
# when they are missing; nothing is fetched from anywhere but Debian's archive.
# Usage: tools/build-windows.sh [--configure-only] [cmake --build arguments...]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

# The posix threading flavour: the library uses std::thread and std::mutex, which GCC 12's win32
# flavour does not provide.
"$root/tools/setup-debian.sh" --packages cmake g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix libz-mingw-w64-dev

configure_only=0
if [ "${1-}" = --configure-only ]; then configure_only=1; shift; fi

# The frozen layout and every operation's slot as the 32-bit Windows compiler lays them out.
abi_work="$root/build-win32/abi"
mkdir -p "$abi_work"
sh "$root/tests/package/abi_slot_list.sh" "$abi_work/abi_slot_list.h" "$root"/include/tagvera/*.h
"$root/tests/package/abi_32bit.sh" i686-w64-mingw32-g++-posix "$root/include" "$root/tests/package" \
  "$abi_work" "$abi_work/abi_slot_list.h"

status=0
for target in i686:win32 x86_64:win64; do
  arch=${target%%:*} dir="$root/build-${target#*:}"
  cmake -S "$root" -B "$dir" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchains/$arch-w64-mingw32.cmake" \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTAGVERA_TESTS=OFF
  if [ $configure_only = 0 ]; then
    # Both are built even when the first fails, so that one run shows what each still lacks.
    cmake --build "$dir" -j"$(nproc)" "$@" || status=$?
  fi
done
exit $status
