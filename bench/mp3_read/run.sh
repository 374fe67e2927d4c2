#!/usr/bin/env bash
# The MP3 reading benchmark: `tagvera info` against a TagLib reader and mutagen over the same
# 1,000-file corpus, each in one process with a warm cache. Prints files per second (best of
# three runs) and bytes read per file (from strace). Results go into bench/README.md by hand.
# Usage: bench/mp3_read/run.sh [CORPUS_DIR]   (default: a new corpus in a temporary folder)
# The build folder is $TAGVERA_BENCH_BUILD_DIR, default build-bench (Release, -DTAGVERA_BENCH=ON).
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${TAGVERA_BENCH_BUILD_DIR:-build-bench}
corpus=${1:-}
if [ -z "$corpus" ]; then
  corpus=$(mktemp -d "${TMPDIR:-/tmp}/tagvera-mp3-corpus.XXXXXX")
  trap 'rm -rf "$corpus"' EXIT
  bench/mp3_read/make-corpus.sh "$corpus" 1000
fi
# TAGVERA_BENCH_NO_BUILD=1 measures the binaries already in the build folder as they are.
if [ -z "${TAGVERA_BENCH_NO_BUILD:-}" ]; then
  cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DTAGVERA_BENCH=ON -DTAGVERA_TESTS=OFF >/dev/null
  cmake --build "$build" -j2 --target tagvera tagvera_cli bench_taglib_read >/dev/null
fi

count=$(find "$corpus" -name '*.mp3' | wc -l)
tagvera=("$build/cli/tagvera" info -r "$corpus")
taglib=("$build/bench/mp3_read/bench_taglib_read" "$corpus")
mutagen=(/usr/bin/python3 bench/mp3_read/mutagen_read.py "$corpus")

# Everything in the page cache first, so that the runs measure parsing, not the disk.
cat "$corpus"/*.mp3 >/dev/null

echo "corpus: $count files, $(du -sh "$corpus" | cut -f1), $(nproc) cores, $(date -u +%Y-%m-%d)"
echo "files per second, best of 5 runs (wall clock, and CPU time of the process):"
for tool in tagvera taglib mutagen; do
  declare -n cmd=$tool
  read -r wall cpu < <(bench/mp3_read/time_runs.py 5 "${cmd[@]}")
  /usr/bin/python3 -c "print('  %-8s %7.0f files/s wall (%.3f s)  %7.0f files/s CPU (%.3f s)' % ('$tool', $count / $wall, $wall, $count / $cpu, $cpu))"
done

# The same split by kind: the VBR files without any header, which only a walk over all their
# frames can time, and the rest.
mapfile -t walked < <(find "$corpus" -name '*vbr_noxing*.mp3' | sort)
mapfile -t others < <(find "$corpus" -name '*.mp3' ! -name '*vbr_noxing*' | sort)
echo "CPU seconds by kind (best of 5): ${#others[@]} files with a VBR header or a constant rate, ${#walked[@]} VBR files without a header:"
for tool in tagvera taglib; do
  if [ "$tool" = tagvera ]; then run=("$build/cli/tagvera" info); else run=("$build/bench/mp3_read/bench_taglib_read"); fi
  read -r _ cpuOthers < <(bench/mp3_read/time_runs.py 5 "${run[@]}" "${others[@]}")
  read -r _ cpuWalked < <(bench/mp3_read/time_runs.py 5 "${run[@]}" "${walked[@]}")
  printf '  %-8s %.3f s and %.3f s\n' "$tool" "$cpuOthers" "$cpuWalked"
done

log=$(mktemp)
for tool in tagvera taglib mutagen; do
  declare -n cmd=$tool
  strace -f -qq -y -s 0 -e trace=read,pread64,readv,preadv,preadv2 -o "$log" "${cmd[@]}" >/dev/null 2>&1 || true
  echo "bytes read per file, $tool:"
  bench/mp3_read/bytes_read.py "$log" "$corpus"
done
rm -f "$log"
