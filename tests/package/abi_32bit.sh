#!/bin/sh
# The frozen layout for a 32-bit target: layout_checks.h's static checks compile with -m32, and
# every operation's slot, read from the compiler's assembly, is the one hosts call it by.
# Exits 77 (skipped) when this machine has no 32-bit compiler set-up. The compiler may also be the
# 32-bit Windows cross compiler (i686-w64-mingw32), which lays out for Windows and its own IUnknown.
set -eu
compiler=$1 include=$2 source=$3 work=$4 list=$5
case $("$compiler" -dumpmachine 2>/dev/null || true) in
  i686*mingw32*) m32="" skipped=$(grep -c '^    X(IUnknown,' "$list") ;;
  *) m32=-m32 skipped=0 ;;
esac
mkdir -p "$work"
printf '#include <cstdint>\nint main() { return 0; }\n' > "$work/probe.cpp"
if ! "$compiler" $m32 -std=c++20 -c "$work/probe.cpp" -o "$work/probe.o" 2>/dev/null; then
  echo "no 32-bit C++ compiler set-up (g++-multilib); skipped"
  exit 77
fi
"$compiler" $m32 -std=c++20 -Wall -Wextra -Werror -fno-pic -O0 -S -I"$include" -I"$(dirname "$list")" \
  "$source/abi_slots_asm.cpp" -o "$work/abi_slots_32.s"
expected=$(($(grep -c '^    X(' "$list") - skipped))
awk -v expected="$expected" '
  /^_?tv_slot_.*_[0-9]+:$/ { name = substr($0, 1, length($0) - 1); n = split(name, parts, "_"); slot = parts[n]; next }
  name != "" && $1 == ".long" {
    if ($2 != 1 + 4 * slot) { printf "%s: holds %s, want %d\n", name, $2, 1 + 4 * slot; bad++ }
    seen++; name = ""; next
  }
  END {
    if (seen != expected) { printf "read %d slots, the list has %d\n", seen, expected; exit 1 }
    if (bad) exit 1
    printf "%d operations in their slots (32-bit)\n", seen
  }' "$work/abi_slots_32.s"
