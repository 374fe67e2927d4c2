#!/usr/bin/env bash
# The Windows Media benchmark: 100 .wma files made by ffmpeg (wmav1 and wmav2 at several rates) and
# tagged by mutagen (title, artist, album, genre, year, track, a 20 KB cover), read in one process
# by the importer, by a small TagLib program and by mutagen; then a title edit on 100 copies.
# Prints files per second (best of 3, wall and CPU, the list read 20 times per process), bytes read per file, and how many edits were
# made in place. The 100 names are hard links to 10 files: per-file costs with a warm cache.
# Usage: bench/wm/run.sh [CORPUS_DIR]   (made there if it has no files yet; default: a new one in /tmp)
# The build folder is $TAGVERA_BENCH_BUILD_DIR, default build-bench (Release, -DTAGVERA_BENCH=ON).
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${TAGVERA_BENCH_BUILD_DIR:-build-bench}
if [ -z "${TAGVERA_BENCH_NO_BUILD:-}" ]; then
  cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DTAGVERA_BENCH=ON -DTAGVERA_TESTS=OFF >/dev/null
  cmake --build "$build" -j2 --target bench_wm >/dev/null
fi
bench=$build/bench/wm/bench_wm
corpus=${1:-}
if [ -z "$corpus" ]; then
  corpus=$(mktemp -d "${TMPDIR:-/tmp}/tagvera-wm-corpus.XXXXXX")
  trap 'rm -rf "$corpus"' EXIT
fi
if [ ! -d "$corpus/base" ]; then  # a folder named but not made yet is made and kept
  base=$corpus/base && mkdir -p "$base"
  ffmpeg -nostdin -loglevel error -y -f lavfi -i testsrc2=size=160x160:rate=1 -frames:v 1 -q:v 2 "$base/cover.jpg"
  i=0
  for codec in wmav1 wmav2; do
    for rate in 22050 32000 44100 48000 44100; do
      ffmpeg -nostdin -loglevel error -y -f lavfi -i "sine=frequency=440:sample_rate=$rate:duration=30" -ac 2 \
        -c:a "$codec" -b:a 64k "$base/$i-$codec-$rate.wma"
      i=$((i + 1))
    done
  done
  /usr/bin/python3 - "$base" <<'PYTHON'
import glob, struct, sys
from mutagen.asf import ASF, ASFUnicodeAttribute as U, ASFDWordAttribute as D, ASFByteArrayAttribute as Y
base = sys.argv[1]
cover = open(base + "/cover.jpg", "rb").read()
for n, path in enumerate(sorted(glob.glob(base + "/*.wma"))):
    f = ASF(path)
    f["Title"], f["Author"], f["WM/AlbumTitle"] = [U("Song %d" % n)], [U("Some Artist")], [U("Some Album")]
    f["WM/Genre"], f["WM/Year"], f["WM/TrackNumber"] = [U("Jazz")], [U("2001")], [D(n + 1)]
    f["WM/Picture"] = [Y(struct.pack("<bI", 3, len(cover)) + "image/jpeg\0".encode("utf-16-le") + b"\0\0" + cover)]
    f.save()
PYTHON
  originals=("$base"/*.wma)
  for i in $(seq 0 99); do
    o=${originals[$((i % ${#originals[@]}))]}
    ln "$o" "$corpus/$(printf '%03d' "$i")_$(basename "$o")"
  done
fi
files=("$corpus"/[0-9]*.wma)
n=${#files[@]}
# Each reader takes the list 20 times in one process, so that start-up (an interpreter's above all)
# does not decide the figure.
rounds=20
repeated=()
for _ in $(seq $rounds); do repeated+=("${files[@]}"); done
cat "${files[@]}" >/dev/null
echo "corpus: $n files ($(du -shL "$corpus"/base | cut -f1) of distinct files), $(nproc) cores, $(date -u +%Y-%m-%d)"
for tool in tagvera taglib mutagen; do
  case $tool in
    tagvera) cmd=("$bench" interrogate) ;;
    taglib) cmd=("$bench" taglib) ;;
    mutagen) cmd=(/usr/bin/python3 bench/common/mutagen_read.py asf) ;;
  esac
  read -r wall cpu < <(bench/mp3_read/time_runs.py 3 "${cmd[@]}" "${repeated[@]}")
  /usr/bin/python3 -c "m = $n * $rounds; print('  %-8s %7.0f files/s wall (%.3f s)  %7.0f files/s CPU (%.3f s)' % ('$tool', m / $wall, $wall, m / $cpu, $cpu))"
  log=$(mktemp)
  strace -f -qq -y -s 0 -e trace=read,pread64,readv,preadv,preadv2 -o "$log" "${cmd[@]}" "${files[@]}" >/dev/null 2>&1 || true
  echo "  bytes read per file, $tool (read calls; mapped pages not counted):"
  bench/mp3_read/bytes_read.py "$log" "$corpus" | sed 's/^/    /'
  rm -f "$log"
done
header=$(/usr/bin/python3 -c "import struct,sys; print(struct.unpack_from('<Q', open(sys.argv[1],'rb').read(24), 16)[0])" "${files[0]}")
echo "  header object of the first file: $header bytes"
edits=$(mktemp -d "${TMPDIR:-/tmp}/tagvera-wm-edits.XXXXXX")
for f in "${files[@]}"; do cp "$f" "$edits/"; done
echo "  title edit on $n copies: $("$bench" title "$edits"/*.wma)"
echo "  the same edit again: $("$bench" title "$edits"/*.wma)"
rm -rf "$edits"
