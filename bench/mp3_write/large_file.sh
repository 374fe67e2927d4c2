#!/usr/bin/env bash
# A title change that fits the tag's padding, on a 2 GB MP3 and on a 5 MB one: the time must not
# depend on the size of the file. Both are sparse copies of a sample (its tag and first frames,
# then zeros up to the size), made in a temporary folder and removed at the end.
# Usage: bench/mp3_write/large_file.sh [BUILD_DIR] [RUNS]
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${1:-build}
runs=${2:-20}
tagvera="$build/cli/tagvera"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export TAGVERA_PREFERENCES="$work/prefs"

make_file() {
  cp samples/01-morning-light.mp3 "$work/$1"
  truncate -s "$2" "$work/$1"
  "$tagvera" set "$work/$1" "Track:Name=First title" > /dev/null
}

# One `tagvera set` per run: wall and CPU milliseconds per title change, and what the last one did.
measure() {
  local name=$1 report times
  TIMEFORMAT='%R %U %S'
  times=$( { time (for i in $(seq 1 "$runs"); do "$tagvera" set "$work/$name" "Track:Name=Title $i" > /dev/null; done) ; } 2>&1 )
  report=$("$tagvera" set "$work/$name" "Track:Name=Last title" | grep id3v2 | sed 's/^ *//')
  awk -v n="$name" -v s="$(stat -c %s "$work/$name")" -v t="$times" -v r="$runs" -v rep="$report" 'BEGIN {
    split(t, a, " "); printf "%-10s %11s bytes  %6.1f ms wall  %6.1f ms CPU per change  (%s)\n",
      n, s, a[1] * 1000 / r, (a[2] + a[3]) * 1000 / r, rep }'
}

make_file small.mp3 5M
make_file big.mp3 2G
echo "title change fitting the padding, $runs runs each, $(nproc) cores"
for name in small.mp3 big.mp3 small.mp3 big.mp3; do measure "$name"; done
