#!/usr/bin/env bash
# Makes the MP4 fixtures under tests/data/mp4/ with ffmpeg and the mutagen of /usr/bin/python3:
#   tail-tagged.m4a   AAC, movie atom after the media data, items of every kind mutagen writes
#                     (text, trkn, disk, tmpo, cpil, a JPEG cover, freeform, a sort tag)
#   front-png.m4a     AAC, movie atom first (+faststart), a title and a PNG cover
#   bare.m4a          AAC, movie atom first, no user data at all
#   chapters.m4v      H.264 and AAC, movie atom first, a chapter text track, a title
#   free-before-items.m4a  AAC tagged by AtomicParsley: movie atom first, a 2000-byte "free"
#                     before the item list, a genre as a number ("gnre"), a JPEG cover
# and one sample for samples/ when a second argument names it.
# Usage: tools/make-mp4-fixtures.sh [output-dir] [sample-path]
set -euo pipefail

out=${1:-"$(cd "$(dirname "$0")/.." && pwd)/tests/data/mp4"}
sample=${2:-}
py=/usr/bin/python3
command -v ffmpeg >/dev/null || { echo "make-mp4-fixtures: ffmpeg missing" >&2; exit 1; }
"$py" -c "import mutagen" 2>/dev/null || { echo "make-mp4-fixtures: python3-mutagen missing" >&2; exit 1; }
command -v AtomicParsley >/dev/null || { echo "make-mp4-fixtures: AtomicParsley missing (package atomicparsley)" >&2; exit 1; }
mkdir -p "$out"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

ff() { ffmpeg -hide_banner -loglevel error -y -fflags +bitexact "$@"; }
tone=(-f lavfi -i "sine=frequency=440:sample_rate=22050:duration=1")
aac=(-c:a aac -b:a 24k -ac 1 -flags:a +bitexact -map_metadata -1)

ff "${tone[@]}" "${aac[@]}" "$work/tail.m4a"
ff "${tone[@]}" "${aac[@]}" "$work/parsley.m4a"
ff "${tone[@]}" "${aac[@]}" -movflags +faststart "$work/front.m4a"
ff "${tone[@]}" "${aac[@]}" -movflags +faststart "$out/bare.m4a"
printf ';FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=500\ntitle=One\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=500\nEND=1000\ntitle=Two\n' \
  >"$work/chapters.txt"
ff -f lavfi -i "testsrc=size=32x24:rate=5:duration=1" "${tone[@]}" -i "$work/chapters.txt" -map 0 -map 1 \
  -map_chapters 2 -c:v libx264 -preset ultrafast -pix_fmt yuv420p -flags:v +bitexact -c:a aac -b:a 24k -ac 1 \
  -metadata title="Chapter test" -movflags +faststart -f ipod "$out/chapters.m4v"
# Two tiny pictures for the covers.
ff -f lavfi -i "color=c=orange:size=8x8" -frames:v 1 "$work/cover.jpg"
ff -f lavfi -i "color=c=navy:size=8x8" -frames:v 1 "$work/cover.png"

"$py" - "$work" "$out" <<'PY'
import shutil, sys
from mutagen.mp4 import MP4, MP4Cover, MP4FreeForm
work, out = sys.argv[1], sys.argv[2]

f = MP4(work + "/tail.m4a")
f["\xa9nam"] = ["Tail Title"]
f["\xa9ART"] = ["Tail Artist"]
f["\xa9alb"] = ["Tail Album"]
f["\xa9day"] = ["1999"]
f["\xa9cmt"] = ["A comment"]
f["\xa9wrt"] = ["A Writer"]
f["trkn"] = [(5, 12)]
f["disk"] = [(1, 2)]
f["tmpo"] = [120]
f["cpil"] = True
f["soar"] = ["Artist, Tail"]
f["covr"] = [MP4Cover(open(work + "/cover.jpg", "rb").read(), MP4Cover.FORMAT_JPEG)]
f["----:com.apple.iTunes:MOOD"] = [MP4FreeForm(b"calm")]
f.save()
shutil.copy(work + "/tail.m4a", out + "/tail-tagged.m4a")

f = MP4(work + "/front.m4a")
f["\xa9nam"] = ["Front Title"]
f["covr"] = [MP4Cover(open(work + "/cover.png", "rb").read(), MP4Cover.FORMAT_PNG)]
f.save()
shutil.copy(work + "/front.m4a", out + "/front-png.m4a")
PY

AtomicParsley "$work/parsley.m4a" --title "Parsley Title" --artist "Parsley Artist" --album "Parsley Album" \
  --tracknum 3/9 --genre Rock --year 2004 --comment "Parsley comment" --artwork "$work/cover.jpg" \
  --output "$out/free-before-items.m4a" >/dev/null

if [ -n "$sample" ]; then
  cp "$out/tail-tagged.m4a" "$sample"
fi
ls -l "$out"
