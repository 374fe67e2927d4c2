#!/usr/bin/env bash
# Title change on N copies of an MP3 file with tagvera set, a TagLib program and mutagen, in the
# same run: files per second by the clock and by CPU time (user + system, which other programs on
# a shared machine disturb less), and bytes written per file (from /proc/self/io of each run).
# Usage: bench/mp3_write/run.sh [BUILD_DIR] [N]
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${1:-build}
n=${2:-1000}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
g++ -O2 -std=c++17 bench/mp3_write/taglib_set_title.cpp -o "$work/taglib_set_title" $(pkg-config --cflags --libs taglib)
source_file=samples/01-morning-light.mp3
export TAGVERA_PREFERENCES="$work/prefs"

prepare() {
  rm -rf "$work/files" && mkdir "$work/files"
  for i in $(seq -w 1 "$n"); do cp "$source_file" "$work/files/$i.mp3"; done
  sync
}

# Runs "$@" on the files; prints files/s (clock and CPU) and write bytes per file.
measure() {
  local name=$1; shift
  prepare
  local start end written cpu
  start=$(date +%s.%N)
  # Bytes written and CPU ticks of the process, read after it ends through a wrapper shell.
  read -r written cpu < <(bash -c '"$@" >/dev/null; awk "/^wchar/ {printf \"%s \", \$2}" /proc/$$/io; awk "{print \$16 + \$17}" /proc/$$/stat' \
    _ "$@" "$work"/files/*.mp3)
  end=$(date +%s.%N)
  awk -v name="$name" -v n="$n" -v s="$start" -v e="$end" -v w="$written" -v c="$cpu" -v hz="$(getconf CLK_TCK)" \
    'BEGIN { printf "%-14s %8.0f files/s  %8.0f files/s of CPU  %8.0f bytes written per file\n", name, n / (e - s), n * hz / (c > 0 ? c : 1), w / n }'
}

echo "title change on $n copies of $source_file ($(stat -c %s $source_file) bytes), $(nproc) cores"
measure "tagvera set" "$build/cli/tagvera" set "Track:Name=Benchmark title"
measure "TagLib" "$work/taglib_set_title"
measure "mutagen" /usr/bin/python3 -c '
import sys
from mutagen.id3 import ID3, TIT2
for p in sys.argv[1:]:
    t = ID3(p); t.add(TIT2(encoding=3, text="Benchmark title")); t.save()' 
