#!/bin/sh
# cmake --install into a scratch prefix, then use it as a host project would: find_package,
# pkg-config, and the installed command finding the installed library on its own.
set -eu
build=$1 source=$2 compiler=$3 flags=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" >/dev/null
for f in include/tagvera/tagvera.h include/tagvera/layout_checks.h bin/tagvera; do
  test -e "$prefix/$f" || { echo "missing $f"; exit 1; }
done
lib=$(find "$prefix" -name 'libtagvera.so.*' -type f | head -n1)
test -n "$lib" || { echo "no libtagvera installed"; exit 1; }
libdir=$(dirname "$lib")

# The installed command finds the installed library without help.
env -u TAGVERA_LIBRARY "$prefix/bin/tagvera" components | grep -q CImportMP3File

# pkg-config, from wherever the prefix ended up.
cflags=$(PKG_CONFIG_PATH=$libdir/pkgconfig pkg-config --cflags tagvera | sed "s/ *$//")
test -f "${cflags#-I}/tagvera/tagvera.h" || { echo "pkg-config --cflags: $cflags"; exit 1; }
plugin=$(PKG_CONFIG_PATH=$libdir/pkgconfig pkg-config --variable=plugin tagvera)
test "$(realpath "$plugin")" = "$(realpath "$libdir/libtagvera.so.2")" || { echo "plugin: $plugin"; exit 1; }

cmake -S "$source/consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS="$flags" >/dev/null
cmake --build "$work/consumer" >/dev/null
LD_LIBRARY_PATH=$libdir "$work/consumer/consumer"
