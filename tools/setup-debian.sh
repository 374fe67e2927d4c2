#!/usr/bin/env bash
# Installs the Debian 12 packages that building, testing, fuzzing and benchmarking tagvera need;
# with --build-only, those that building the library and the command needs; with --packages,
# the packages named after it (the Windows cross build's toolchains).
# Only missing packages are installed; nothing is fetched from anywhere but Debian's archive.
set -euo pipefail

build_packages=(
  build-essential cmake pkg-config
  zlib1g-dev libid3-3.8.3-dev libexpat1-dev libexiv2-dev
  libavformat-dev libavcodec-dev libavutil-dev
)
packages=(
  "${build_packages[@]}" git
  g++-multilib
  clang-14 libclang-rt-14-dev
  libgtest-dev googletest
  libtag1-dev libbenchmark-dev man-db
  ffmpeg lame id3v2 atomicparsley python3 python3-mutagen libimage-exiftool-perl libxml2-utils imagemagick
  strace
)
[ "${1-}" = --build-only ] && packages=("${build_packages[@]}")
if [ "${1-}" = --packages ]; then shift; packages=("$@"); fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -gt 0 ]; then
  echo "setup: installing ${missing[*]}" >&2
  sudo=""
  [ "$(id -u)" -ne 0 ] && sudo="sudo"
  $sudo apt-get update -q
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
fi
