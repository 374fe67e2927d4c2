#!/usr/bin/env bash
# The generic interrogation benchmark: 300 media files of 1 to 60 MB (MPEG program and transport
# streams, QuickTime, AVI, 3GP, WAV, FLV), read in one process by the interrogator through the
# media platform, by a libavformat-only floor under the same probe limits, and by
# `exiftool -n -j`. Prints files per second (best of 3, wall and CPU) and bytes read per file.
# The 300 names are hard links to 14 files made once with ffmpeg (a 10 s clip of each kind, and
# the same looped, or for FLV encoded, to about 60 MB): per-file costs are measured with a warm cache, not the disk.
# Usage: bench/interrogate/run.sh [CORPUS_DIR]   (made there if it has no files yet; default: a new one in /tmp)
# The build folder is $TAGVERA_BENCH_BUILD_DIR, default build-bench (Release, -DTAGVERA_BENCH=ON).
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${TAGVERA_BENCH_BUILD_DIR:-build-bench}
if [ -z "${TAGVERA_BENCH_NO_BUILD:-}" ]; then
  cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DTAGVERA_BENCH=ON -DTAGVERA_TESTS=OFF >/dev/null
  cmake --build "$build" -j2 --target bench_interrogate >/dev/null
fi
bench=$build/bench/interrogate/bench_interrogate
export TAGVERA_LIBRARY=$build/src/libtagvera.so
corpus=${1:-}
if [ -z "$corpus" ]; then
  corpus=$(mktemp -d "${TMPDIR:-/tmp}/tagvera-interrogate-corpus.XXXXXX")
  trap 'rm -rf "$corpus"' EXIT
fi
if [ ! -d "$corpus/base" ]; then  # a folder named but not made yet is made and kept
  base=$corpus/base && mkdir -p "$base"
  ff() { ffmpeg -hide_banner -loglevel error -y "$@"; }
  v="testsrc=size=320x240:rate=25:duration=10" a="sine=frequency=440:sample_rate=44100:duration=10"
  ff -f lavfi -i "$v" -f lavfi -i "$a" -c:v mpeg1video -b:v 1M -c:a mp2 -f mpeg "$base/mpg-10s.mpg"
  ff -f lavfi -i "$v" -f lavfi -i "$a" -c:v mpeg2video -b:v 1M -c:a mp2 -f mpegts "$base/ts-10s.ts"
  ff -f lavfi -i "$v" -f lavfi -i "$a" -c:v mpeg4 -b:v 1M -c:a aac "$base/mov-10s.mov"
  ff -f lavfi -i "$v" -f lavfi -i "$a" -c:v mpeg4 -b:v 1M -c:a mp2 "$base/avi-10s.avi"
  ff -f lavfi -i "testsrc=size=176x144:rate=25:duration=10" -f lavfi -i "$a" -c:v h263 -b:v 1M -c:a aac -ac 1 "$base/3gp-10s.3gp"
  ff -f lavfi -i "$a" -c:a pcm_s16le -ac 2 "$base/wav-10s.wav"
  ff -f lavfi -i "$v" -f lavfi -i "$a" -c:v flv1 -b:v 1M -c:a adpcm_swf "$base/flv-10s.flv"
  for f in "$base"/*-10s.*; do
    ext=${f##*.}
    loops=$(( 60000000 / $(stat -c %s "$f") ))
    # The FLV demuxer cannot seek back to loop: that one is made long to begin with.
    [ "$ext" = flv ] && continue
    ff -stream_loop "$loops" -i "$f" -map 0 -c copy "$base/$ext-60mb.$ext"
  done
  ff -f lavfi -i "${v/duration=10/duration=480}" -f lavfi -i "${a/duration=10/duration=480}" -c:v flv1 -b:v 1M \
    -c:a adpcm_swf "$base/flv-60mb.flv"
  files=("$base"/*)
  for i in $(seq 0 299); do
    f=${files[$((i % ${#files[@]}))]}
    ln "$f" "$corpus/$(printf '%04d' "$i")_$(basename "$f")"
  done
fi
files=("$corpus"/[0-9]*)
n=${#files[@]}
cat "${files[@]}" >/dev/null
echo "corpus: $n files ($(du -shL "$corpus"/base | cut -f1) of distinct files), $(nproc) cores, $(date -u +%Y-%m-%d)"
for tool in tagvera floor exiftool; do
  case $tool in
    tagvera) cmd=("$bench" tagvera "$build/src" "${files[@]}") ;;
    floor) cmd=("$bench" floor "${files[@]}") ;;
    exiftool) cmd=(exiftool -n -j "${files[@]}") ;;
  esac
  read -r wall cpu < <(bench/mp3_read/time_runs.py 3 "${cmd[@]}")
  /usr/bin/python3 -c "print('  %-8s %7.0f files/s wall (%.3f s)  %7.0f files/s CPU (%.3f s)' % ('$tool', $n / $wall, $wall, $n / $cpu, $cpu))"
  log=$(mktemp)
  strace -f -qq -y -s 0 -e trace=read,pread64,readv,preadv,preadv2 -o "$log" "${cmd[@]}" >/dev/null 2>&1 || true
  echo "  bytes read per file, $tool (read calls; mapped pages not counted):"
  bench/mp3_read/bytes_read.py "$log" "$corpus" | sed 's/^/    /'
  rm -f "$log"
done
