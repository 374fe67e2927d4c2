#!/usr/bin/env bash
# Makes the small media files under tests/data/interrogate/ that the media platform and the
# generic interrogator are tested on: one of each container kind, each about a second long, and
# a damaged copy of each (cut short after its first bytes). Needs ffmpeg; the QCELP file is put
# together byte by byte, since ffmpeg writes no such container.
set -euo pipefail
out=${1:-"$(dirname "$0")/../tests/data/interrogate"}
mkdir -p "$out"
ff() { ffmpeg -hide_banner -loglevel error -y -bitexact "$@"; }
video="testsrc=size=64x48:rate=25:duration=1"
video_3gp="testsrc=size=128x96:rate=25:duration=1"
audio="sine=frequency=440:sample_rate=22050:duration=1"
tags=(-metadata title="Test Pattern" -metadata artist="Fixture Maker" -metadata copyright="Nobody")

ff -f lavfi -i "$video" -f lavfi -i "$audio" -c:v mpeg1video -b:v 64k -c:a mp2 -b:a 32k -ac 1 -f mpeg "$out/video.mpg"
ff -f lavfi -i "$video" -f lavfi -i "$audio" -c:v mpeg2video -b:v 64k -c:a mp2 -b:a 32k -f mpegts "$out/stream.ts"
ff -f lavfi -i "$video" -f lavfi -i "$audio" -c:v mpeg4 -b:v 64k -c:a aac -b:a 32k -ac 2 "${tags[@]}" "$out/clip.mov"
ff -f lavfi -i "$video" -f lavfi -i "$audio" -c:v mpeg4 -b:v 64k -c:a mp2 -b:a 32k -ac 2 "$out/movie.avi"
ff -f lavfi -i "$video_3gp" -f lavfi -i "$audio" -c:v h263 -b:v 64k -c:a aac -b:a 24k -ac 1 "$out/phone.3gp"
ff -f lavfi -i "$audio" -c:a aac -b:a 24k -ac 1 "$out/voice.3gp"
ff -f lavfi -i "$video_3gp" -f lavfi -i "$audio" -c:v h263 -b:v 64k -c:a aac -b:a 24k -ac 1 -f 3g2 "$out/phone.3g2"
ff -f lavfi -i "sine=frequency=440:sample_rate=8000:duration=1" -c:a pcm_s16le -ac 1 "${tags[@]}" "$out/song.wav"
ff -f lavfi -i "$video" -f lavfi -i "$audio" -c:v flv1 -b:v 64k -c:a adpcm_swf -ac 1 "$out/clip.flv"

# QCELP in its RIFF "QLCM" container: the QCELP 13K codec id, 8 kHz, and a
# few blank frames (frame type 0, one byte each).
python3 - "$out/voice.qcp" <<'PY'
import struct, sys
fmt = bytearray()
fmt += bytes([1, 0])                                            # major, minor version
fmt += bytes.fromhex("41 6D 7F 5E 15 B1 D0 11 BA 91 00 80 5F B4 B9 7E".replace(" ", ""))  # QCELP 13K
fmt += struct.pack("<H", 2)                                     # codec version
fmt += b"Qcelp 13K".ljust(80, b"\0")                            # codec name
fmt += struct.pack("<HHHHHH", 13000 // 8, 35, 160, 8000, 16, 0)  # bit rate/8, packet bytes, block, rate, bits, rates
fmt += bytes(8 * 2)                                             # rate map (unused with fixed rate)
fmt += bytes(20)                                                # reserved
frames = bytes(50)
chunks = b"fmt " + struct.pack("<I", len(fmt)) + bytes(fmt)
chunks += b"data" + struct.pack("<I", len(frames)) + frames
body = b"QLCM" + chunks
open(sys.argv[1], "wb").write(b"RIFF" + struct.pack("<I", len(body)) + body)
PY

# Damaged copies: the first 160 bytes of each.
for f in video.mpg stream.ts clip.mov movie.avi phone.3gp phone.3g2 song.wav clip.flv voice.qcp; do
  head -c 160 "$out/$f" > "$out/cut-${f}"
done
# What ffprobe finds in each: the duration in milliseconds, the last audio stream's channels, the
# last video stream's size; a file ffprobe cannot open is marked "refused".
python3 - "$out" <<'PY' > "$out/expected.tsv"
import json, os, subprocess, sys
out = sys.argv[1]
print("file\tlength\tchannels\twidth\theight")
for name in sorted(os.listdir(out)):
    if name == "expected.tsv":
        continue
    probe = subprocess.run(["ffprobe", "-v", "error", "-of", "json", "-show_format", "-show_streams",
                            os.path.join(out, name)], capture_output=True, text=True)
    info = json.loads(probe.stdout or "{}")
    if probe.returncode != 0 or not info.get("streams"):
        print(f"{name}\trefused\t-\t-\t-")
        continue
    channels = width = height = 0
    for stream in info["streams"]:
        if stream.get("codec_type") == "audio":
            channels = stream.get("channels", 0)
        if stream.get("codec_type") == "video":
            width, height = stream.get("width", 0), stream.get("height", 0)
    length = round(float(info["format"].get("duration", 0)) * 1000)
    print(f"{name}\t{length}\t{channels}\t{width}\t{height}")
PY
cat "$out/expected.tsv"
