#!/usr/bin/env bash
# Makes the still-image fixtures under tests/data/image/ with ImageMagick (/usr/bin/convert from
# Debian's imagemagick package) and exiftool, and writes what those tools say of each file into
# tests/data/image/expected.tsv, which the image tests compare the library with:
#   file, width, height, horizontal and vertical dpi (rounded; 96 where the file states no unit),
#   bits per pixel of the stored layout, then exiftool -n for each EXIF column of the header line.
# Usage: tools/make-image-fixtures.sh [output-dir]
set -euo pipefail

out=${1:-"$(cd "$(dirname "$0")/.." && pwd)/tests/data/image"}
convert=/usr/bin/convert
identify=/usr/bin/identify
[ -x "$convert" ] || { echo "make-image-fixtures: install Debian's imagemagick (tools/setup-debian.sh)" >&2; exit 1; }
command -v exiftool >/dev/null || { echo "make-image-fixtures: exiftool missing" >&2; exit 1; }
mkdir -p "$out"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# A minimal ICC profile (header and one tag) so that a fixture carries one beside EXIF.
python3 - "$work/min.icc" <<'PY'
import struct, sys
size = 128 + 4 + 12 + 12  # header, a table of one tag, a copyright text
body = struct.pack(">I4sI4s4s4s6H4s4sI4s4sQI3i4s44x", size, b"none", 0x02100000, b"mntr", b"RGB ", b"XYZ ",
                   2020, 1, 1, 0, 0, 0, b"acsp", b"APPL", 0, b"none", b"none", 0, 0, 63190, 65536, 54061, b"none")
table = struct.pack(">I4sII", 1, b"cprt", 144, 12)
open(sys.argv[1], "wb").write(body + table + b"text\0\0\0\0tv\0\0")
PY
"$convert" -size 8x6 gradient:white-black -depth 8 "$work/thumb.jpg"

picture() { "$convert" -size 24x16 gradient:orange-navy -depth 8 "$@"; }
camera=(-EXIF:Make=ACME -EXIF:Model="Model 7" -EXIF:Orientation#=6 -EXIF:ModifyDate="2021:02:03 04:05:06"
        -EXIF:DateTimeOriginal="2021:02:03 04:05:06" -EXIF:ExposureTime=0.008 -EXIF:FNumber=2.8 -EXIF:Flash#=16
        -EXIF:FocalLength=35 -EXIF:Software="tagvera fixtures" -EXIF:ColorSpace#=1 -EXIF:ExifImageWidth#=24)
exif() { exiftool -q -q -overwrite_original "$@"; }

cd "$work"
# JPEG: big-endian EXIF with GPS, a Unicode comment, a thumbnail, XMP, IPTC and an ICC profile.
picture -density 72 -units PixelsPerInch jpeg-rgb-be.jpg
exif "${camera[@]}" -GPSLatitude=48.85 -GPSLatitudeRef=N -EXIF:UserComment="Zürich ☀" -XMP:Title="XMP title" \
  -IPTC:Keywords=fixture "-ThumbnailImage<=thumb.jpg" "-ICC_Profile<=min.icc" jpeg-rgb-be.jpg
# Little-endian EXIF and no JFIF segment: the resolution comes from EXIF.
picture jpeg-rgb-le.jpg
exif -JFIF:all= jpeg-rgb-le.jpg
exif -ExifByteOrder=II "${camera[@]}" -EXIF:XResolution=300 -EXIF:YResolution=300 -EXIF:ResolutionUnit#=2 jpeg-rgb-le.jpg
picture -colorspace Gray -density 28 -units PixelsPerCentimeter jpeg-grey-cm.jpg
picture -colorspace CMYK -density 150 -units PixelsPerInch jpeg-cmyk.jpg
# PNG: EXIF in an eXIf chunk beside pHYs; 16-bit alpha; grey without pHYs; a palette.
picture -define png:color-type=2 -density 72 -units PixelsPerInch png-rgb.png
exif "${camera[@]}" png-rgb.png
picture -depth 16 -alpha set -channel A -evaluate set 50% +channel -define png:color-type=6 -define png:bit-depth=16 png-rgba16.png
picture -colorspace Gray -define png:color-type=0 png-grey.png
picture -colors 16 PNG8:png-palette.png
# GIF and BMP hold no EXIF.
picture -colors 32 gif.gif
picture -density 72 -units PixelsPerInch BMP3:bmp-rgb24.bmp
picture -type Palette -density 300 -units PixelsPerInch BMP3:bmp-palette4.bmp
picture -alpha set -channel A -evaluate set 50% +channel -density 120 -units PixelsPerInch -define bmp:format=bmp4 bmp-argb32.bmp
# TIFF: EXIF in the first directory (little- and big-endian), 16-bit grey, CMYK.
picture -compress zip -density 300 -units PixelsPerInch tiff-rgb-le.tif
exif "${camera[@]}" tiff-rgb-le.tif
picture -colorspace Gray -depth 16 -endian MSB -compress zip -density 40 -units PixelsPerCentimeter tiff-grey16-be.tif
exif -EXIF:Make=ACME -EXIF:Orientation#=3 tiff-grey16-be.tif
picture -colorspace CMYK -compress zip -density 200 -units PixelsPerInch tiff-cmyk.tif

# The layout each file was made with, in bits per pixel; identify's depth per channel must agree.
declare -A bpp=([jpeg-rgb-be.jpg]=24 [jpeg-rgb-le.jpg]=24 [jpeg-grey-cm.jpg]=8 [jpeg-cmyk.jpg]=32
  [png-rgb.png]=24 [png-rgba16.png]=64 [png-grey.png]=8 [png-palette.png]=8 [gif.gif]=8
  [bmp-rgb24.bmp]=24 [bmp-palette4.bmp]=4 [bmp-argb32.bmp]=32 [tiff-rgb-le.tif]=24 [tiff-grey16-be.tif]=16
  [tiff-cmyk.tif]=32)
declare -A channels=([8]=1 [16]=1 [24]=3 [32]=4 [64]=4)

columns=(Make Model Orientation ModifyDate DateTimeOriginal ExposureTime FNumber Flash FocalLength ResolutionUnit
         Software ColorSpace ExifImageWidth)
{
  printf 'file\twidth\theight\txdpi\tydpi\tbpp'
  printf '\t%s' "${columns[@]}"
  printf '\n'
  for f in $(printf '%s\n' "${!bpp[@]}" | sort); do
    read -r w h x y unit depth < <("$identify" -format '%w %h %x %y %U %z\n' "$f[0]")
    want=${bpp[$f]}
    case "$f" in *palette*|gif.gif) ;; *)
      [ $((depth * ${channels[$want]})) -eq "$want" ] || { echo "$f: identify says depth $depth, made as $want bpp" >&2; exit 1; } ;;
    esac
    case "$unit" in
      PixelsPerInch) dpi() { printf '%.0f' "$1"; } ;;
      PixelsPerCentimeter) dpi() { python3 -c "print(round($1 * 2.54))"; } ;;
      *) dpi() { printf 96; } ;;
    esac
    printf '%s\t%s\t%s\t%s\t%s\t%s' "$f" "$w" "$h" "$(dpi "$x")" "$(dpi "$y")" "$want"
    args=()
    for c in "${columns[@]}"; do args+=("-EXIF:$c"); done
    printf '\t%s' "$(exiftool -q -q -n -T -f "${args[@]}" "$f")"
    printf '\n'
    cp "$f" "$out/$f"
  done
} > "$out/expected.tsv"
echo "make-image-fixtures: $(ls "$out" | wc -l) files in $out"
