#!/usr/bin/env bash
# Makes the MP3 reading benchmark's corpus: 1,000 files of mixed kinds (constant and variable bit
# rates, with and without a Xing header, MPEG-1/2/2.5, mono and stereo, 1 to 4 minutes), tagged
# with mutagen in a mix of ID3v2.3 and ID3v2.4 (Latin-1, UTF-16, UTF-8), some with a 200 KB front
# cover, some with lyrics, some with an ID3v1 tag as well, some with ID3v1 only, some untagged.
# The corpus is generated, never committed (about 2.5 GB).
# Usage: bench/mp3_read/make-corpus.sh DIR [COUNT]
set -euo pipefail
out=${1:?usage: make-corpus.sh DIR [COUNT]}
count=${2:-1000}
for tool in ffmpeg lame /usr/bin/python3; do
  command -v "$tool" >/dev/null || { echo "make-corpus: $tool is missing (tools/setup-debian.sh)" >&2; exit 1; }
done
mkdir -p "$out"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

source_wav() {  # seconds file
  ffmpeg -hide_banner -loglevel error -y -filter_complex \
    "sine=f=220:d=$1,volume=0.4[a];anoisesrc=d=$1:c=pink:a=0.1:seed=3[n1];[a][n1]amix=inputs=2,tremolo=f=2:d=0.7[l];\
sine=f=330:d=$1,volume=0.3[b];anoisesrc=d=$1:c=brown:a=0.2:seed=5[n2];[b][n2]amix=inputs=2[r];\
[l][r]join=inputs=2:channel_layout=stereo[out]" -map "[out]" -ar 44100 -c:a pcm_s16le "$2"
}
source_wav 240 "$work/s240.wav"
ffmpeg -hide_banner -loglevel error -y -i "$work/s240.wav" -t 180 -c copy "$work/s180.wav"
ffmpeg -hide_banner -loglevel error -y -i "$work/s240.wav" -t 120 -c copy "$work/s120.wav"
ffmpeg -hide_banner -loglevel error -y -i "$work/s240.wav" -t 60 -c copy "$work/s60.wav"

# The kinds of audio, encoded once each; every corpus file is one of them with its own tags.
mkdir -p "$work/base"
encode() {  # name input lame-options...
  local name=$1 input=$2
  shift 2
  lame --quiet -t "$@" "$input" "$work/base/$name.mp3" &
}
encode cbr128_stereo "$work/s240.wav" -b 128 -m s
encode cbr192_joint "$work/s180.wav" -b 192 -m j
encode cbr320_joint "$work/s120.wav" -b 320 -m j
wait
encode cbr64_48k_mono "$work/s180.wav" -b 64 -m m --resample 48
encode mpeg2_24k "$work/s180.wav" -b 48 -m j --resample 24
encode mpeg25_11k "$work/s120.wav" -b 24 -m m --resample 11.025
wait
# -t drops the Xing/Info frame: these two are VBR streams that only a walk can measure.
encode vbr_noxing_v4 "$work/s180.wav" -V 4
encode vbr_noxing_v6_short "$work/s60.wav" -V 6
wait
lame --quiet -V 2 "$work/s240.wav" "$work/base/vbr_xing_v2.mp3" &
lame --quiet -V 5 "$work/s180.wav" "$work/base/vbr_xing_v5.mp3" &
wait
lame --quiet -b 160 "$work/s120.wav" "$work/base/cbr160_info.mp3"

# A 200 KB JPEG front cover, and a small one.
ffmpeg -hide_banner -loglevel error -y -f lavfi -i "testsrc2=size=512x512:rate=1" \
  -vf "noise=alls=40:allf=t" -frames:v 1 -q:v 2 "$work/cover_big.jpg"
ffmpeg -hide_banner -loglevel error -y -f lavfi -i "testsrc2=size=160x160:rate=1" -frames:v 1 -q:v 5 \
  "$work/cover_small.jpg"

/usr/bin/python3 - "$work/base" "$out" "$count" "$work/cover_big.jpg" "$work/cover_small.jpg" <<'EOF'
import os, random, shutil, sys
from mutagen.id3 import ID3, TIT2, TPE1, TALB, TRCK, TCON, TYER, TDRC, COMM, APIC, USLT, TXXX, WOAR, TPUB

base, out, count, big, small = sys.argv[1], sys.argv[2], int(sys.argv[3]), sys.argv[4], sys.argv[5]
kinds = sorted(os.listdir(base))
big_cover, small_cover = open(big, "rb").read(), open(small, "rb").read()
rng = random.Random(1000)
genres = ["Rock", "(17)", "Jazz", "Electronic", "(13)", "Classical", "Hip-Hop", "Ambient"]
words = ["Blue", "Night", "Harbour", "River", "Glass", "Summer", "Echo", "Paper", "Signal", "Orbit"]

def v1_record(title, artist, album, track, genre):
    def field(text, width):
        data = text.encode("latin-1", "replace")[:width]
        return data + bytes(width - len(data))
    return (b"TAG" + field(title, 30) + field(artist, 30) + field(album, 30) + b"2023"
            + field("corpus", 28) + bytes([0, track]) + bytes([genre]))

for i in range(count):
    kind = kinds[i % len(kinds)]
    path = os.path.join(out, "%04d_%s" % (i, kind))
    shutil.copyfile(os.path.join(base, kind), path)
    title = "%s %s %d" % (rng.choice(words), rng.choice(words), i)
    artist = "Artist %d" % (i % 37)
    album = "Album %d" % (i % 53)
    track = 1 + i % 14
    shape = rng.random()
    if shape < 0.05:      # untagged
        continue
    if shape < 0.10:      # ID3v1.1 only
        with open(path, "ab") as f:
            f.write(v1_record(title, artist, album, track, 17))
        continue
    v24 = rng.random() < 0.5
    encoding = rng.choice([0, 1, 3] if v24 else [0, 1])
    if encoding == 0:
        artist_text = artist
    else:
        artist_text = artist + " \u00e9\u00f8\u00fc"
    tag = ID3()
    tag.add(TIT2(encoding=encoding, text=title))
    tag.add(TPE1(encoding=encoding, text=artist_text))
    tag.add(TALB(encoding=encoding, text=album))
    tag.add(TRCK(encoding=encoding, text="%d/14" % track))
    tag.add(TCON(encoding=encoding, text=rng.choice(genres)))
    tag.add(TDRC(encoding=encoding, text="2023") if v24 else TYER(encoding=encoding, text="2023"))
    tag.add(COMM(encoding=encoding, lang="eng", desc="", text="Corpus file %d" % i))
    if rng.random() < 0.3:
        tag.add(TXXX(encoding=encoding, desc="MusicMatch_Mood", text="Calm"))
        tag.add(WOAR(url="https://example.org/artist/%d" % (i % 37)))
        tag.add(TPUB(encoding=encoding, text="Corpus Records"))
    if rng.random() < 0.15:
        tag.add(USLT(encoding=encoding, lang="eng", desc="", text="Line one\nLine two\n" * 20))
    cover = rng.random()
    if cover < 0.20:
        tag.add(APIC(encoding=0, mime="image/jpeg", type=3, desc="", data=big_cover))
    elif cover < 0.45:
        tag.add(APIC(encoding=0, mime="image/jpeg", type=3, desc="", data=small_cover))
    with_v1 = rng.random() < 0.25
    tag.save(path, v2_version=4 if v24 else 3, v1=2 if with_v1 else 0)
EOF
total=$(du -sh "$out" | cut -f1)
echo "make-corpus: $(ls "$out" | wc -l) files, $total, in $out"
