#!/usr/bin/env bash
# Windows Media fixtures for tests/wm and the sample: real files from ffmpeg's ASF muxer, then
# tagged by mutagen, so that the reader meets what other programs write, not what it writes itself.
# make-wm-fixtures.sh [OUT_DIR [SAMPLES_DIR]] (default tests/data/wm and samples); needs ffmpeg and
# python3 with mutagen.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
out=${1:-$here/tests/data/wm}
samples=${2:-$here/samples}
python=${PYTHON:-/usr/bin/python3}
mkdir -p "$out"
ff() { ffmpeg -nostdin -hide_banner -loglevel error -y -fflags +bitexact -flags:a +bitexact -flags:v +bitexact "$@"; }
tone() { echo "sine=frequency=$1:sample_rate=$2:duration=$3"; }

ff -f lavfi -i "$(tone 440 22050 1)" -ac 1 -c:a wmav1 -b:a 32k "$out/wmav1-22k-mono.wma"
ff -f lavfi -i "$(tone 440 44100 1)" -ac 2 -c:a wmav2 -b:a 48k "$out/wmav2-44k-stereo.wma"
ff -f lavfi -i "$(tone 660 32000 1)" -ac 2 -c:a wmav2 -b:a 32k "$out/wmav2-32k.wma"
ff -f lavfi -i "$(tone 880 11025 1)" -ac 1 -c:a wmav2 -b:a 24k "$out/wmav2-11k.wma"
ff -f lavfi -i testsrc=size=32x24:rate=5:duration=1 -f lavfi -i "$(tone 440 22050 1)" -ac 1 \
    -c:v wmv1 -b:v 32k -c:a wmav2 -b:a 24k "$out/wmv1-audio.wmv"
ff -f lavfi -i testsrc=size=48x32:rate=5:duration=1 -f lavfi -i "$(tone 440 22050 1)" -ac 1 \
    -c:v wmv2 -b:v 32k -c:a wmav1 -b:a 24k "$out/wmv2-audio.wmv"
# Video files get a simple index object after the data.
ff -f lavfi -i testsrc=size=32x24:rate=5:duration=1 -an -c:v wmv2 -b:v 32k "$out/video-only.asf"

# Tags as mutagen writes them: every attribute type, two values of one name, a picture past
# 64 KB (which only the metadata library can hold), a language and a stream number, Unicode.
ff -f lavfi -i "sine=frequency=523:sample_rate=32000:duration=3" -ac 2 -c:a wmav2 -b:a 32k "$samples/09-evening-tones.wma"
ff -f lavfi -i testsrc2=size=48x48:rate=1 -frames:v 1 -q:v 8 "$out/cover.jpg"
cp "$out/wmav2-44k-stereo.wma" "$out/tagged.wma"
cp "$out/wmav2-32k.wma" "$out/picture.wma"
cp "$out/wmv1-audio.wmv" "$out/tagged.wmv"
"$python" - "$out" "$samples" <<'PYTHON'
import struct, sys, uuid
from mutagen.asf import ASF, ASFUnicodeAttribute as U, ASFDWordAttribute as D, ASFQWordAttribute as Q, \
    ASFWordAttribute as W, ASFBoolAttribute as B, ASFByteArrayAttribute as Y, ASFGUIDAttribute as G
out, samples = sys.argv[1], sys.argv[2]

def picture(kind, mime, data):
    return Y(struct.pack("<bI", kind, len(data)) + (mime + "\0").encode("utf-16-le")
             + "\0".encode("utf-16-le") + data)

f = ASF(out + "/tagged.wma")
f["Title"] = [U("Morning Light")]
f["Author"] = [U("Ånna Ström")]
f["Copyright"] = [U("(c) 2009 Ströms")]
f["Description"] = [U("first take")]
f["WM/AlbumTitle"] = [U("Über Alles ★")]
f["WM/Genre"] = [U("Jazz"), U("Blues")]
f["WM/Year"] = [U("2009")]
f["WM/Track"] = [D(4)]
f["WM/TrackNumber"] = [D(5)]
f["WM/PromotionURL"] = [U("http://example.com/promo")]
f["WM/BeatsPerMinute"] = [W(120)]
f["WM/SharedUserRating"] = [Q(99)]
f["IsVBR"] = [B(False)]
f["GN/UniqueFileIdentifier"] = [Y(b"\x01\x02\x03\x04")]
f["WM/MediaClassPrimaryID"] = [G(uuid.UUID("d1607dbc-e323-4be2-86a1-48a42a28441e").bytes_le)]
f["WM/Lyrics"] = [U("la la", language=1)]
f["WM/Mood"] = [U("calm", stream=1)]
f["KORVA/Track:Mood"] = [U("bright")]
f["WM/Picture"] = [picture(3, "image/png", b"\x89PNG\r\n\x1a\n" + bytes(range(256)) * 4)]
f.save()

f = ASF(out + "/picture.wma")
f["Title"] = [U("Big Picture")]
f["WM/Picture"] = [picture(3, "image/jpeg", b"\xff\xd8\xff\xe0" + bytes(70000) + b"\xff\xd9")]
f.save()

f = ASF(out + "/tagged.wmv")
f["Title"] = [U("Test Card")]
f["WM/AlbumTitle"] = [U("Pictures")]
f.save()

f = ASF(samples + "/09-evening-tones.wma")
f["Title"] = [U("Evening Tones")]
f["Author"] = [U("Sample Artist")]
f["WM/AlbumTitle"] = [U("Sample Album")]
f["WM/Genre"] = [U("Ambient")]
f["WM/Year"] = [U("2026")]
f["WM/TrackNumber"] = [D(9)]
f["WM/Picture"] = [picture(3, "image/jpeg", open(out + "/cover.jpg", "rb").read())]
f.save()
PYTHON
rm "$out/cover.jpg"
ls -l "$out" "$samples"/09-*
