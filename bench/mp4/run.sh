#!/usr/bin/env bash
# The MP4 benchmark: 300 .m4a files (half with the movie atom at the end, half with it first)
# made by ffmpeg and tagged by mutagen, read in one process by the importer through the host
# (with the media platform, which supplies the MIME type statistics, and without it), by a small
# TagLib program and by mutagen, the four alternated round by round; bytes read per file; title
# edits with and without room in "free"; a cover picture set on a 2 GB .mp4 with the movie atom
# first and at the end (time, peak memory, bytes written), the file made sparse in a temporary
# folder and removed.
# The 300 names are hard links to 6 files (10 s, 60 s and 5 min, each in both layouts): per-file
# costs with a warm cache, and whether bytes read follow the media's size.
# Usage: bench/mp4/run.sh [CORPUS_DIR]   (made there if it has no files yet; default: a new one in /tmp)
# The build folder is $TAGVERA_BENCH_BUILD_DIR, default build-bench (Release, -DTAGVERA_BENCH=ON).
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${TAGVERA_BENCH_BUILD_DIR:-build-bench}
if [ -z "${TAGVERA_BENCH_NO_BUILD:-}" ]; then
  cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DTAGVERA_BENCH=ON -DTAGVERA_TESTS=OFF >/dev/null
  cmake --build "$build" -j2 --target bench_mp4 tagvera_cli >/dev/null
fi
bench=$build/bench/mp4/bench_mp4
tagvera=$build/cli/tagvera
export TAGVERA_LIBRARY=$build/src/libtagvera.so
corpus=${1:-}
if [ -z "$corpus" ]; then
  corpus=$(mktemp -d "${TMPDIR:-/tmp}/tagvera-mp4-corpus.XXXXXX")
  trap 'rm -rf "$corpus"' EXIT
fi
ff() { ffmpeg -nostdin -hide_banner -loglevel error -y "$@"; }
if [ ! -d "$corpus/base" ]; then  # a folder named but not made yet is made and kept
  base=$corpus/base && mkdir -p "$base"
  ff -f lavfi -i testsrc2=size=300x300:rate=1 -frames:v 1 -q:v 2 "$base/cover.jpg"
  for seconds in 10 60 300; do
    ff -f lavfi -i "sine=frequency=440:sample_rate=44100:duration=$seconds" -ac 2 -c:a aac -b:a 128k \
      "$base/end-${seconds}s.m4a"
    ff -i "$base/end-${seconds}s.m4a" -c copy -movflags +faststart "$base/front-${seconds}s.m4a"
  done
  /usr/bin/python3 - "$base" <<'PYTHON'
import glob, sys
from mutagen.mp4 import MP4, MP4Cover
base = sys.argv[1]
cover = open(base + "/cover.jpg", "rb").read()
for n, path in enumerate(sorted(glob.glob(base + "/*.m4a"))):
    f = MP4(path)
    f["\xa9nam"], f["\xa9ART"], f["\xa9alb"] = ["Song %d" % n], ["Some Artist"], ["Some Album"]
    f["\xa9gen"], f["\xa9day"], f["trkn"] = ["Jazz"], ["2001"], [(n + 1, 6)]
    f["covr"] = [MP4Cover(cover, MP4Cover.FORMAT_JPEG)]
    f.save()
PYTHON
  originals=("$base"/*.m4a)
  for i in $(seq 0 299); do
    o=${originals[$((i % ${#originals[@]}))]}
    ln "$o" "$corpus/$(printf '%03d' "$i")_$(basename "$o")"
  done
fi
files=("$corpus"/[0-9]*.m4a)
n=${#files[@]}
# Each reader takes the list several times in one process, so that start-up (an interpreter's above
# all) does not decide the figure; the four run alternated, and each one's best round counts.
repeat=5
repeated=()
for _ in $(seq $repeat); do repeated+=("${files[@]}"); done
cat "${files[@]}" >/dev/null
echo "corpus: $n files ($(du -shL "$corpus"/base | cut -f1) of distinct files), $(nproc) cores, $(date -u '+%Y-%m-%d %H:%M'), load $(cut -d' ' -f1-3 /proc/loadavg)"
command_of() {
  case $1 in
    tagvera) cmd=("$bench" interrogate "$build/src") ;;
    no-mime) cmd=("$bench" interrogate -) ;;
    taglib) cmd=("$bench" taglib) ;;
    mutagen) cmd=(/usr/bin/python3 bench/common/mutagen_read.py mp4) ;;
  esac
}
tools=(tagvera no-mime taglib mutagen)
declare -A wall cpu
for round in 1 2 3; do
  for tool in "${tools[@]}"; do
    command_of "$tool"
    read -r w c < <(bench/mp3_read/time_runs.py 1 "${cmd[@]}" "${repeated[@]}")
    if [ -z "${wall[$tool]:-}" ] || /usr/bin/python3 -c "import sys; sys.exit(not $w < ${wall[$tool]})"; then wall[$tool]=$w; fi
    if [ -z "${cpu[$tool]:-}" ] || /usr/bin/python3 -c "import sys; sys.exit(not $c < ${cpu[$tool]})"; then cpu[$tool]=$c; fi
  done
done
for tool in "${tools[@]}"; do
  /usr/bin/python3 -c "m = $n * $repeat; print('  %-8s %7.0f files/s wall (%.3f s)  %7.0f files/s CPU (%.3f s)' % ('$tool', m / ${wall[$tool]}, ${wall[$tool]}, m / ${cpu[$tool]}, ${cpu[$tool]}))"
done
echo "  load after the rounds: $(cut -d' ' -f1-3 /proc/loadavg)"
for tool in "${tools[@]}"; do
  command_of "$tool"
  log=$(mktemp)
  strace -f -qq -y -s 0 -e trace=read,pread64,readv,preadv,preadv2 -o "$log" "${cmd[@]}" "${files[@]}" >/dev/null 2>&1 || true
  echo "  bytes read per file, $tool (read calls; mapped pages not counted):"
  bench/mp3_read/bytes_read.py "$log" "$corpus" | sed 's/^/    /'
  rm -f "$log"
done

# Title edits: 100 copies as mutagen left them (about 1 KB of "free" after the item list), then
# the same 100 saved again by mutagen without any free space.
edits=$(mktemp -d "${TMPDIR:-/tmp}/tagvera-mp4-edits.XXXXXX")
for f in "${files[@]:0:100}"; do cp "$f" "$edits/"; done
TIMEFORMAT='%R s wall, %U s user, %S s system'
echo "  title edit on 100 copies with room in free: $( { time "$bench" title "A New Title For The Benchmark" "$edits"/*.m4a; } 2>&1 | tr '\n' ' ')"
/usr/bin/python3 - "$edits" <<'PYTHON'
import glob, sys
from mutagen.mp4 import MP4
for path in glob.glob(sys.argv[1] + "/*.m4a"):
    f = MP4(path)
    f["\xa9nam"] = ["Song"]
    f.save(padding=lambda info: 0)
PYTHON
echo "  title edit on 100 copies without free space: $( { time "$bench" title "A New Title For The Benchmark" "$edits"/*.m4a; } 2>&1 | tr '\n' ' ')"
echo "  the same edit again: $( { time "$bench" title "A New Title For The Benchmark, Again" "$edits"/*.m4a; } 2>&1 | tr '\n' ' ')"
rm -rf "$edits"

# A cover picture set on a 2 GB file: the 10 s file with its media data grown to 2 GB by a hole
# after the real samples (their offsets stay right), once with the movie atom first, once at the end.
big=$(mktemp -d "${TMPDIR:-/tmp}/tagvera-mp4-big.XXXXXX")
ff -f lavfi -i testsrc2=size=600x600:rate=1 -frames:v 1 -q:v 2 "$big/cover.jpg"
# Each edit runs twice: as the command runs, and with the media platform left out
# (TAGVERA_MEDIA_PLATFORM names no library), whose libraries the interrogation before the write loads.
for layout in front end; do
  for platform in loaded "left out"; do
    /usr/bin/python3 - "$corpus/base/$layout-10s.m4a" "$big/$layout.mp4" <<'PYTHON'
import struct, sys
data = open(sys.argv[1], "rb").read()
boxes, at = [], 0
while at < len(data):
    size, kind = struct.unpack_from(">I4s", data, at)
    boxes.append((kind, data[at:at + size]))
    at += size
grow = (2 << 30) - len(data)
with open(sys.argv[2], "wb") as out:
    for kind, box in boxes:
        if kind == b"mdat":
            out.write(struct.pack(">I", len(box) + grow) + box[4:])
            out.seek(grow, 1)  # a hole: read back as zeros
        else:
            out.write(box)
    out.truncate()
PYTHON
    sync
    size=$(stat -c %s "$big/$layout.mp4")
    none=()
    [ "$platform" = loaded ] || none=(env TAGVERA_MEDIA_PLATFORM=/nonexistent)
    "${none[@]}" /usr/bin/time -v "$tagvera" set "$big/$layout.mp4" --picture "Album:Cover Art=$big/cover.jpg" \
      >"$big/out" 2>"$big/time" || true
    echo "  cover on a $size-byte file, movie atom $layout, media platform $platform: $(grep -o 'in place[^)]*\|rewritten[^)]*' "$big/out" | head -1)"
    awk -F': ' '/Elapsed/ {t=$2} /Maximum resident/ {m=$2} /File system outputs/ {o=$2}
      END {printf "    %s wall, peak %d KB, %.0f bytes written (file system outputs x 512)\n", t, m, o * 512}' "$big/time"
    ffprobe -v error -show_entries format=duration -of csv=p=0 "$big/$layout.mp4" | sed 's/^/    duration after: /'
    rm -f "$big/$layout.mp4"
  done
done
rm -rf "$big"
