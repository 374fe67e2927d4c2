#!/usr/bin/env bash
# The image benchmark: 500 pictures of 1 to 20 megapixels (JPEG, PNG, TIFF, GIF, BMP with EXIF
# where the format holds it), read in one process by the importer, by a small exiv2 program, and
# by `exiftool -n -j`. Prints files per second (best of 3, wall and CPU) and bytes read per file.
# The 500 names are hard links to 10 pictures made once with ImageMagick: per-file costs are what
# is measured, with a warm cache, not the disk.
# Usage: bench/image/run.sh [CORPUS_DIR]   (made there if it has no pictures yet; default: a new one in /tmp)
# The build folder is $TAGVERA_BENCH_BUILD_DIR, default build-bench (Release, -DTAGVERA_BENCH=ON).
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${TAGVERA_BENCH_BUILD_DIR:-build-bench}
if [ -z "${TAGVERA_BENCH_NO_BUILD:-}" ]; then
  cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DTAGVERA_BENCH=ON -DTAGVERA_TESTS=OFF >/dev/null
  cmake --build "$build" -j2 --target bench_image >/dev/null
fi
bench=$build/bench/image/bench_image
corpus=${1:-}
if [ -z "$corpus" ]; then
  corpus=$(mktemp -d "${TMPDIR:-/tmp}/tagvera-image-corpus.XXXXXX")
  trap 'rm -rf "$corpus"' EXIT
fi
if [ ! -d "$corpus/base" ]; then  # a folder named but not made yet is made and kept
  base=$corpus/base && mkdir -p "$base"
  make() {  # name, width, height
    /usr/bin/convert -seed 7 -size "$2x$3" plasma:fractal -depth 8 "$base/$1"
    case $1 in *.jpg|*.png|*.tif)
      exiftool -q -q -overwrite_original -EXIF:Make=ACME -EXIF:Model=Bench -EXIF:Orientation#=1 \
        -EXIF:DateTimeOriginal="2024:01:02 03:04:05" -EXIF:ExposureTime=0.01 -EXIF:FNumber=4 "$base/$1" ;;
    esac
  }
  make jpeg-1mp.jpg 1152 864; make jpeg-5mp.jpg 2592 1944; make jpeg-12mp.jpg 4000 3000
  make jpeg-20mp.jpg 5472 3648; make png-2mp.png 1600 1200; make png-8mp.png 3264 2448
  make tiff-1mp.tif 1152 864; make tiff-6mp.tif 3000 2000; make gif-1mp.gif 1152 864; make bmp-2mp.bmp 1600 1200
  pictures=("$base"/*)
  for i in $(seq 0 499); do
    p=${pictures[$((i % ${#pictures[@]}))]}
    ln "$p" "$corpus/$(printf '%04d' "$i")_$(basename "$p")"
  done
fi
files=("$corpus"/[0-9]*)
n=${#files[@]}
cat "${files[@]}" >/dev/null
echo "corpus: $n files ($(du -shL "$corpus"/base | cut -f1) of distinct pictures), $(nproc) cores, $(date -u +%Y-%m-%d)"
for tool in tagvera exiv2 exiftool; do
  case $tool in
    tagvera) cmd=("$bench" interrogate "${files[@]}") ;;
    exiv2) cmd=("$bench" exiv2 "${files[@]}") ;;
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
