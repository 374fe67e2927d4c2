#!/usr/bin/env bash
# The command on a whole library at once: `tagvera info -r` and `tagvera set -r` with one job and
# with one job per core over the MP3 reading corpus (1,000 mixed files), reads against exiftool
# (which cannot write MP3 tags). Reads are timed warm (everything in the page cache) and cold (the
# cache dropped before each run; needs root); the title edit is timed warm on a copy of the corpus,
# each run writing a new title so that every file is written. Best of RUNS runs; results go into
# bench/README.md by hand. Usage: bench/cli_batch/run.sh [CORPUS_DIR] [RUNS]
# The build folder is $TAGVERA_BENCH_BUILD_DIR, default build-bench (Release).
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${TAGVERA_BENCH_BUILD_DIR:-build-bench}
corpus=${1:-}
runs=${2:-5}
command -v exiftool >/dev/null || { echo "cli_batch: exiftool is missing (tools/setup-debian.sh)" >&2; exit 1; }
work=$(mktemp -d "${TMPDIR:-/tmp}/tagvera-batch.XXXXXX")
trap 'rm -rf "$work"' EXIT
if [ -z "$corpus" ]; then
  corpus=$work/corpus
  bench/mp3_read/make-corpus.sh "$corpus" 1000
fi
if [ -z "${TAGVERA_BENCH_NO_BUILD:-}" ]; then
  cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DTAGVERA_BENCH=ON -DTAGVERA_TESTS=OFF >/dev/null
  cmake --build "$build" -j"$(nproc)" --target tagvera tagvera_cli >/dev/null
fi
tagvera=$build/cli/tagvera
cores=$(nproc)
count=$(find "$corpus" -name '*.mp3' | wc -l)
echo "corpus: $count files, $(du -sh "$corpus" | cut -f1), $cores cores, $(date -u +%Y-%m-%d)"

# "WALL CPU" of the best of $runs runs of a command; with cold, the page cache is dropped first.
best() {
  local cold=$1
  shift
  local bw="" bc=""
  for _ in $(seq "$runs"); do
    if [ "$cold" = cold ]; then sync; echo 3 >/proc/sys/vm/drop_caches; fi
    read -r w c < <(bench/mp3_read/time_runs.py 1 "$@")
    bw=$(/usr/bin/python3 -c "print(min(float('$w'), float('${bw:-1e9}')))")
    bc=$(/usr/bin/python3 -c "print(min(float('$c'), float('${bc:-1e9}')))")
  done
  echo "$bw $bc"
}
line() {  # label wall cpu
  /usr/bin/python3 -c "print('  %-22s %7.0f files/s wall (%6.2f s)  %7.0f files/s CPU (%6.2f s)' % ('$1', $count / $2, $2, $count / $3, $3))"
}

reads() {  # warm|cold
  read -r w c < <(best "$1" "$tagvera" info -j1 -r "$corpus");        line "tagvera info -j1" "$w" "$c"
  read -r w c < <(best "$1" "$tagvera" info -j"$cores" -r "$corpus"); line "tagvera info -j$cores" "$w" "$c"
  read -r w c < <(best "$1" exiftool -q -r -ext mp3 "$corpus");       line "exiftool" "$w" "$c"
}
cat "$corpus"/*.mp3 >/dev/null
echo "reading, warm (best of $runs):"
reads warm
if [ "$(id -u)" = 0 ] && [ -w /proc/sys/vm/drop_caches ]; then
  echo "reading, cold (best of $runs):"
  reads cold
else
  echo "reading, cold: skipped (dropping the page cache needs root)"
fi

# Title edits: every run writes a title the files do not hold yet.
copy=$work/copy
cp -r "$corpus" "$copy"
"$tagvera" set -q -j"$cores" -r "$copy" title=start >/dev/null  # every file tagged once, as a library is
n=0
edit() {  # label command-prefix...
  local label=$1 bw="" bc=""
  shift
  for _ in $(seq "$runs"); do
    n=$((n + 1))
    read -r w c < <(bench/mp3_read/time_runs.py 1 "$@" "title $n")
    bw=$(/usr/bin/python3 -c "print(min(float('$w'), float('${bw:-1e9}')))")
    bc=$(/usr/bin/python3 -c "print(min(float('$c'), float('${bc:-1e9}')))")
  done
  line "$label" "$bw" "$bc"
}
set_title() { "$tagvera" set -q -j"$1" -r "$copy" "title=$2"; }
export -f set_title
export tagvera copy
echo "a title edit on every file, warm (best of $runs):"
edit "tagvera set -j1" bash -c 'set_title 1 "$0"'
edit "tagvera set -j$cores" bash -c "set_title $cores \"\$0\""
