#!/usr/bin/env bash
# Makes the small MP3 fixtures of tests/data/mp3 with real encoders and records, beside each file,
# what ffprobe and a full ffmpeg decode report, so that the tests need no ffmpeg at run time.
# Usage: tools/make-mp3-fixtures.sh [output dir]   (default tests/data/mp3)
set -euo pipefail
cd "$(dirname "$0")/.."
out=${1:-tests/data/mp3}
for tool in ffmpeg ffprobe lame id3v2 /usr/bin/python3; do
  command -v "$tool" >/dev/null || { echo "make-mp3-fixtures: $tool is missing (tools/setup-debian.sh)" >&2; exit 1; }
done
mkdir -p "$out"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# A deterministic stereo source whose two channels differ (tones, tremolo and seeded noise), so that
# VBR encoders vary their frame sizes and joint stereo cannot collapse the channels.
source_wav() {  # seconds rate file
  ffmpeg -hide_banner -loglevel error -y -filter_complex \
    "sine=f=220:d=$1:sample_rate=$2,volume=0.4[a];anoisesrc=d=$1:c=pink:a=0.1:seed=7:r=$2[n1];\
[a][n1]amix=inputs=2,tremolo=f=2:d=0.8[l];sine=f=331:d=$1:sample_rate=$2,volume=0.3[b];\
anoisesrc=d=$1:c=brown:a=0.2:seed=9:r=$2[n2];[b][n2]amix=inputs=2[r];\
[l][r]join=inputs=2:channel_layout=stereo[out]" -map "[out]" -c:a pcm_s16le "$3"
}
source_wav 6 44100 "$work/s6.wav"
source_wav 8 44100 "$work/s8.wav"
source_wav 10 44100 "$work/s10.wav"
source_wav 6 48000 "$work/s6_48k.wav"

lame_to() {  # name input lame-options...
  local name=$1 input=$2
  shift 2
  lame --quiet "$@" "$input" "$out/$name.mp3"
}

# Constant bit rate, MPEG-1, with LAME's "Info" frame (which a reader must not take for Xing).
lame_to cbr_128k_44k_stereo "$work/s6.wav" -b 128 -m s
lame_to cbr_64k_48k_joint "$work/s6_48k.wav" -b 64 -m j --resample 48
lame_to cbr_32k_32k_mono "$work/s8.wav" -b 32 -m m --resample 32
# Constant bit rate with no Info frame and no tags at all: nothing but MPEG frames.
lame_to cbr_96k_44k_notag "$work/s6.wav" -b 96 -t --resample 44.1
# Variable bit rate with a Xing header (MPEG-1, and MPEG-2 mono at a low rate).
lame_to vbr_xing_44k_v7 "$work/s8.wav" -V 7 -m j --resample 44.1
lame_to vbr_xing_22k_mono "$work/s10.wav" -V 8 -m m --resample 22.05
# Variable bit rate without any header: only a walk over the frames gives the duration.
lame_to vbr_noxing_44k_v5 "$work/s6.wav" -V 5 -t --resample 44.1
# MPEG-2 and MPEG-2.5 constant bit rate.
lame_to mpeg2_24k_48k_stereo "$work/s8.wav" -b 48 -m s --resample 24
lame_to mpeg25_8k_16k_mono "$work/s8.wav" -b 16 -m m --resample 8
lame_to mpeg25_11k_24k_joint "$work/s8.wav" -b 24 -m j --resample 11.025
# Layer II through ffmpeg's encoder.
ffmpeg -hide_banner -loglevel error -y -i "$work/s6_48k.wav" -ac 1 -c:a mp2 -b:a 64k -f mp2 "$out/layer2_48k_64k_mono.mp3"

# Layer I: no encoder ships in Debian, so write frames whose bit allocation is all zero, which
# every decoder plays as silence (MPEG-1, 32 kHz, 64 kbit/s, mono: 96-byte frames, 3 seconds).
/usr/bin/python3 - "$out/layer1_32k_64k_mono.mp3" <<'EOF'
import sys
header = bytes([0xFF, 0xFF, 0x28, 0xC0])  # MPEG-1 Layer I, no CRC, 64 kbit/s, 32 kHz, mono
frames = 3 * 32000 // 384
with open(sys.argv[1], "wb") as f:
    for _ in range(frames):
        f.write(header + bytes(96 - 4))
EOF

# ID3v1 only: v1.1 with track 12 and genre 17 (Rock), Latin-1 text.
lame_to id3v1_only_v11 "$work/s6.wav" -b 48 -m m --resample 22.05 -t
id3v2 -1 -t "$(printf 'Caf\xe9 Title')" -a "V1 Artist" -A "V1 Album" -y 1999 -g 17 -T 12 \
  -c "short comment" "$out/id3v1_only_v11.mp3"
# ID3v1.0 record written byte by byte: 30-character title and comment, genre 255 (none).
lame_to id3v1_only_v10 "$work/s6.wav" -b 48 -m m --resample 22.05 -t
/usr/bin/python3 - "$out/id3v1_only_v10.mp3" <<'EOF'
import sys
def field(text, width):
    data = text.encode("latin-1")[:width]
    return data + bytes(width - len(data))
record = (b"TAG" + field("Title of exactly thirty chars!", 30) + field("Artist", 30) + field("Album", 30)
          + b"2004" + field("A comment that fills 30 bytes.", 30) + bytes([255]))
assert len(record) == 128
with open(sys.argv[1], "ab") as f:
    f.write(record)
EOF

# The report: what ffprobe says, and what a full decode gives (exact sample count per channel).
for f in "$out"/*.mp3; do
  name=$(basename "$f" .mp3)
  probe=$(ffprobe -v error -print_format json -show_format -show_streams "$f")
  nullrun=$(ffmpeg -hide_banner -nostats -i "$f" -f null - 2>&1 | grep -o 'time=[0-9:.]*' | tail -n1)
  samples_bytes=$(ffmpeg -hide_banner -loglevel error -i "$f" -f s16le -ac 1 - | wc -c)
  /usr/bin/python3 - "$name" "$nullrun" "$samples_bytes" "$out/$name.json" <<EOF
import json, sys
name, nullrun, sample_bytes, path = sys.argv[1], sys.argv[2], int(sys.argv[3]), sys.argv[4]
probe = json.loads('''$probe''')
stream = probe["streams"][0]
fmt = probe["format"]
h, m, s = nullrun.split("=")[1].split(":")
rate = int(stream["sample_rate"])
report = {
    "file": name + ".mp3",
    "size": int(fmt["size"]),
    "ffprobe": {
        "codec": stream["codec_name"],
        "sample_rate": rate,
        "channels": stream["channels"],
        "stream_bit_rate": int(stream.get("bit_rate", 0)),
        "format_bit_rate": int(fmt.get("bit_rate", 0)),
        "duration_s": float(fmt["duration"]),
    },
    "decoded": {
        "null_muxer_time_s": int(h) * 3600 + int(m) * 60 + float(s),
        "samples_per_channel": sample_bytes // 2,
        "duration_s": round(sample_bytes / 2 / rate, 6),
    },
}
with open(path, "w") as out:
    json.dump(report, out, indent=1)
    out.write("\n")
EOF
done
echo "make-mp3-fixtures: $(ls "$out"/*.mp3 | wc -l) files in $out"
