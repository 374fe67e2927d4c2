#!/usr/bin/env bash
# The KorvaMedia benchmark: `tagvera info`, and a host's interrogation loop through the library's
# entry points, over a corpus of generated files of six kinds (1 to 50 MB), 20 times over in one
# process, against the floor any reader pays (open, the header objects, the last 140 bytes,
# close); a title change on every file of the corpus with one `tagvera set` (the trailer path);
# then the edit engine's Save and `strip` of a 1 GB file against a plain copy with fsync.
# Prints files per second (best of 5), bytes read and written per file, seconds and peak memory.
# Usage: bench/kmedia/run.sh [CORPUS_DIR [COUNT]]   (default: a new corpus of 300 in /tmp)
# The build folder is $TAGVERA_BENCH_BUILD_DIR, default build-bench (Release, -DTAGVERA_BENCH=ON).
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${TAGVERA_BENCH_BUILD_DIR:-build-bench}
count=${2:-300}
corpus=${1:-}
if [ -z "${TAGVERA_BENCH_NO_BUILD:-}" ]; then
  cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DTAGVERA_BENCH=ON -DTAGVERA_TESTS=OFF >/dev/null
  cmake --build "$build" -j2 --target tagvera tagvera_cli bench_kmedia >/dev/null
fi
bench=$build/bench/kmedia/bench_kmedia
if [ -z "$corpus" ]; then
  corpus=$(mktemp -d "${TMPDIR:-/tmp}/tagvera-km-corpus.XXXXXX")
  trap 'rm -rf "$corpus"' EXIT
  "$bench" corpus "$corpus" "$count"
fi
files=("$corpus"/*)
n=${#files[@]}
cat "${files[@]}" >/dev/null  # the page cache holds them: parsing is measured, not the disk

echo "corpus: $n files, $(du -sh "$corpus" | cut -f1), $(nproc) cores, $(date -u +%Y-%m-%d)"
export TAGVERA_LIBRARY="$build/src/libtagvera.so"
# The corpus 20 times over, so that per-file costs stand out from starting the process.
all=(); for _ in $(seq 20); do all+=("${files[@]}"); done
for tool in tagvera host floor; do
  case $tool in
    tagvera) cmd=("$build/cli/tagvera" info "${all[@]}") ;;  # interrogates and prints
    host) cmd=("$bench" interrogate "${all[@]}") ;;          # what a host pays, without printing
    floor) cmd=("$bench" floor "${all[@]}") ;;
  esac
  read -r wall cpu < <(bench/mp3_read/time_runs.py 5 "${cmd[@]}")
  /usr/bin/python3 -c "print('  %-8s %7.0f files/s wall (%.3f s)  %7.0f files/s CPU (%.3f s, %.1f us a file)' % ('$tool', 20 * $n / $wall, $wall, 20 * $n / $cpu, $cpu, $cpu * 1e6 / (20 * $n)))"
done
log=$(mktemp)
strace -f -qq -y -s 0 -e trace=read,pread64,readv,preadv,preadv2 -o "$log" "$build/cli/tagvera" info "${files[@]}" >/dev/null 2>&1 || true
echo "bytes read per file, tagvera:"
bench/mp3_read/bytes_read.py "$log" "$corpus"
echo "bytes read per file, floor: $("$bench" floor "${files[@]}")"
rm -f "$log"

# Writes change the corpus, so they come after the reads. Twice: the first run adds a trailer to
# the files without one, the second replaces the trailer of every file.
for run in "first write" "second write"; do
  start=$(date +%s.%N)
  read -r written cpu < <(bash -c '"$@" >/dev/null; awk "/^wchar/ {printf \"%s \", \$2}" /proc/$$/io; awk "{print \$16 + \$17}" /proc/$$/stat' \
    _ "$build/cli/tagvera" set "${files[@]}" "Track:Name=Benchmark title $run")
  end=$(date +%s.%N)
  awk -v name="$run" -v n="$n" -v s="$start" -v e="$end" -v w="$written" -v c="$cpu" -v hz="$(getconf CLK_TCK)" \
    'BEGIN { printf "  title change, %s: %6.0f files/s  %6.0f files/s of CPU  %6.0f bytes written per file\n", name, n / (e - s), n * hz / (c > 0 ? c : 1), w / n }'
done

big=$(mktemp -d "${TMPDIR:-/tmp}/tagvera-km-big.XXXXXX")
"$bench" big "$big/in.km" 1024
echo "Save of a $(du -h "$big/in.km" | cut -f1) file, three rounds alternated:"
for round in 1 2 3; do
  rm -f "$big/out.km" "$big/copy.km"; sync
  "$bench" save "$big/in.km" "$big/out.km"
  rm -f "$big/out.km"; sync
  "$bench" copy "$big/in.km" "$big/copy.km"
done
echo "strip of the same file (rewritten in place), three rounds alternated:"
for round in 1 2 3; do
  sync
  "$bench" strip "$big/in.km"
  rm -f "$big/copy.km"; sync
  "$bench" copy "$big/in.km" "$big/copy.km"
done
rm -rf "$big"
