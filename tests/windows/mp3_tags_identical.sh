#!/usr/bin/env bash
# The Windows build writes the same MP3 tags as the Linux build, byte for byte: the same `set` on
# copies of every MP3 fixture (tests/data, and ../shared/fixtures where it exists) by tagvera.exe
# under wine64 and by the Linux tagvera, then the files and the lines each printed compared. The
# Windows build renders ID3v2 through our rules of id3lib, the Linux one through id3lib itself.
# Wine's exit status says nothing, so only files and output are compared.
# Usage: tests/windows/mp3_tags_identical.sh [WINDOWS_BUILD [LINUX_BUILD]]   (default: build-win64 and build)
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
win=$(realpath -m "${1:-$root/build-win64}")
linux=$(realpath -m "${2:-$root/build}")
wine=/usr/lib/wine/wine64

for f in "$wine" "$win/cli/tagvera.exe" "$win/src/tagvera.dll" "$linux/cli/tagvera"; do
  [ -e "$f" ] || { echo "mp3-tags-identical: $f is missing"; exit 1; }
done

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/bin" "$work/windows" "$work/linux"
cp "$win/cli/tagvera.exe" "$win/src/tagvera.dll" "$work/bin/"
export WINEPREFIX="${WINEPREFIX:-$win/wine-prefix}" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" LC_ALL=C.UTF-8

fixtures=()
while IFS= read -r f; do fixtures+=("$f"); done < <(
  { find "$root/tests/data" -name '*.mp3'; [ -d "$root/../shared/fixtures" ] && find "$root/../shared/fixtures" -name '*.mp3'; } | sort)
[ ${#fixtures[@]} -gt 0 ] || { echo "mp3-tags-identical: no MP3 fixtures"; exit 1; }

# A plain edit, text that needs UTF-16, a comment and a number, with losses allowed so that the
# damaged fixtures are written too.
edit=(--allow-loss "title=Blue in Green" "artist=Zoë Keating – Ⅱ" "comment=one more" "track=3/12")

i=0
for f in "${fixtures[@]}"; do
  i=$((i + 1))
  name="$i-$(basename "$f")"
  cp "$f" "$work/windows/$name"
  cp "$f" "$work/linux/$name"
done
chmod u+w "$work"/windows/*.mp3 "$work"/linux/*.mp3

# Wine's own lines (a new prefix made on the first run) are not the command's.
# Each side in its own folder, the file names relative, so that the lines printed match.
(cd "$work/windows" && "$wine" ../bin/tagvera.exe set -j 1 ./*.mp3 "${edit[@]}" 2>&1 | tr -d '\r' | sed 's#\\#/#g' | { grep -v '^wine: ' || true; } > ../windows.out) || true
(cd "$work/linux" && "$linux/cli/tagvera" set -j 1 ./*.mp3 "${edit[@]}" > ../linux.out 2>&1) || true

failed=0
for f in "$work"/linux/*.mp3; do
  name=$(basename "$f")
  if ! cmp -s "$f" "$work/windows/$name"; then
    echo "differs: $name ($(cmp "$f" "$work/windows/$name" 2>&1 | head -n 1))"
    failed=$((failed + 1))
  fi
done
if ! diff -u "$work/linux.out" "$work/windows.out" > "$work/out.diff"; then
  echo "the lines printed differ:"
  cat "$work/out.diff"
  failed=$((failed + 1))
fi
[ -s "$work/linux.out" ] || { echo "the Linux build printed nothing"; failed=$((failed + 1)); }
if [ "$failed" -ne 0 ]; then
  echo "mp3-tags-identical: $failed difference(s) over ${#fixtures[@]} fixtures"
  exit 1
fi
echo "mp3-tags-identical: ${#fixtures[@]} fixtures written byte-identically"
