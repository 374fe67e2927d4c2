#!/usr/bin/env bash
# Makes the small MP3 files of samples/ that the README's main command shows: a few seconds of
# tones each, encoded with lame and tagged with mutagen, so that `tagvera info samples/*.mp3` has
# titles, artists, albums, track numbers, genres, a cover picture, lyrics, links, a people list,
# an ID3v1 tag and a VBR stream to show.
# Usage: tools/make-samples.sh [output dir]   (default samples)
set -euo pipefail
cd "$(dirname "$0")/.."
out=${1:-samples}
for tool in ffmpeg lame /usr/bin/python3; do
  command -v "$tool" >/dev/null || { echo "make-samples: $tool is missing (tools/setup-debian.sh)" >&2; exit 1; }
done
/usr/bin/python3 -c 'import mutagen' 2>/dev/null || { echo "make-samples: python3-mutagen is missing" >&2; exit 1; }
mkdir -p "$out"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

tone() {  # seconds frequency-left frequency-right file
  ffmpeg -hide_banner -loglevel error -y -filter_complex \
    "sine=f=$2:d=$1:sample_rate=44100,volume=0.4,tremolo=f=3:d=0.5[l];\
sine=f=$3:d=$1:sample_rate=44100,volume=0.3[r];[l][r]join=inputs=2:channel_layout=stereo[out]" \
    -map "[out]" -c:a pcm_s16le "$4"
}
tone 4 262 330 "$work/a.wav"
tone 5 196 247 "$work/b.wav"
tone 3 440 440 "$work/c.wav"

# A 96x96 JPEG cover: a test card, small enough to keep the sample tiny.
ffmpeg -hide_banner -loglevel error -y -f lavfi -i "testsrc2=size=96x96:rate=1" -frames:v 1 -q:v 6 \
  "$work/cover.jpg"

lame --quiet -b 128 -m j "$work/a.wav" "$out/01-morning-light.mp3"
lame --quiet -V 4 -m j "$work/b.wav" "$out/02-harbour-lights.mp3"
lame --quiet -b 64 -m m --resample 22.05 "$work/c.wav" "$out/03-old-radio.mp3"

/usr/bin/python3 - "$out" "$work/cover.jpg" <<'EOF'
import sys
from mutagen.id3 import (ID3, TIT2, TPE1, TALB, TRCK, TCON, TYER, TDRC, COMM, APIC, USLT, WOAR, TPUB,
                         IPLS, TIPL, TCOM)
out, cover = sys.argv[1], sys.argv[2]

# ID3v2.3, plain text frames.
tag = ID3()
tag.add(TIT2(encoding=0, text="Morning Light"))
tag.add(TPE1(encoding=0, text="The Sample Band"))
tag.add(TALB(encoding=0, text="Bundled Tones"))
tag.add(TRCK(encoding=0, text="1/3"))
tag.add(TCON(encoding=0, text="(26)"))  # Ambient, by number as older taggers write it
tag.add(TYER(encoding=0, text="2024"))
tag.add(COMM(encoding=0, lang="eng", desc="", text="Two sine tones, four seconds."))
tag.add(TPUB(encoding=0, text="tagvera samples"))
tag.save(out + "/01-morning-light.mp3", v2_version=3)

# ID3v2.4 in UTF-8 with a front cover, lyrics, a link and a people list; VBR audio.
tag = ID3()
tag.add(TIT2(encoding=3, text="Harbour Lights"))
tag.add(TPE1(encoding=3, text="Zoë & the Tones"))
tag.add(TALB(encoding=3, text="Bundled Tones"))
tag.add(TRCK(encoding=3, text="2/3"))
tag.add(TCON(encoding=3, text="Electronic"))
tag.add(TDRC(encoding=3, text="2024"))
tag.add(TCOM(encoding=3, text="A. Composer"))
tag.add(APIC(encoding=0, mime="image/jpeg", type=3, desc="", data=open(cover, "rb").read()))
tag.add(USLT(encoding=3, lang="eng", desc="", text="Lights on the water,\nboats coming home."))
tag.add(WOAR(url="https://example.org/zoe-and-the-tones"))
tag.add(TIPL(encoding=3, people=[["producer", "P. Roducer"], ["mix", "M. Ixer"]]))
tag.save(out + "/02-harbour-lights.mp3", v2_version=4)

# ID3v2.3 in UTF-16 plus an ID3v1.1 tag; mono at 22.05 kHz.
tag = ID3()
tag.add(TIT2(encoding=1, text="Old Radio"))
tag.add(TPE1(encoding=1, text="The Sample Band"))
tag.add(TALB(encoding=1, text="Bundled Tones"))
tag.add(TRCK(encoding=1, text="3/3"))
tag.add(TCON(encoding=1, text="Oldies"))
tag.add(IPLS(encoding=1, people=[["engineer", "E. Ngineer"]]))
tag.save(out + "/03-old-radio.mp3", v2_version=3, v1=2)
EOF
echo "make-samples: $(ls "$out"/*.mp3 | wc -l) files in $out"
