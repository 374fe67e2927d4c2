#!/usr/bin/env bash
# The Windows build under wine64 (the x86_64 build stands in for the 32-bit DLL, which this Wine
# cannot run): the host check (tests/windows/host_check.cpp) on one file of each format,
# `tagvera.exe info --json` on the samples against the Linux build's output for the same files,
# and `tagvera.exe set` then `info` on copies, whose bytes must equal the Linux build's writes,
# the same edit on every MP3 fixture, byte for byte as the Linux build writes it, and the
# platform layer's tests and the GDI+ image check, built into the same tree.
# Wine's exit status says nothing (it exits 0 when it cannot start a program at all), so only
# output is checked. A format whose importer the Windows build lacks is reported as skipped, and
# checked like the others once it builds. Failures are listed again as the last lines.
# Usage: tools/test-windows.sh [WINDOWS_BUILD [LINUX_BUILD]]   (default: build-win64 and build)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
win=$(realpath -m "${1:-$root/build-win64}")
linux=$(realpath -m "${2:-$root/build}")
wine=/usr/lib/wine/wine64

failures=()
fail() { failures+=("$1"); echo "FAILED: $1"; }
finish() {
  if [ ${#failures[@]} -gt 0 ]; then
    echo "test-windows: ${#failures[@]} check(s) failed:"
    printf '  %s\n' "${failures[@]}"
    exit 1
  fi
  echo "test-windows: passed"
  exit 0
}

[ -x "$wine" ] || { fail "wine64 is missing (tools/setup-debian.sh --packages wine64)"; finish; }
for f in src/tagvera.dll src/vxmedpltfm.dll cli/tagvera.exe tests/windows/tagvera_host_check.exe; do
  [ -f "$win/$f" ] || fail "$win/$f is missing (tools/build-windows.sh builds it)"
done
[ -x "$linux/cli/tagvera" ] || fail "$linux/cli/tagvera is missing (tools/main.sh builds it)"
[ ${#failures[@]} -eq 0 ] || finish

# A host's folder: the programs, the package and the media platform side by side.
work="$win/wine-test"
rm -rf "$work"
mkdir -p "$work/bin" "$work/files"
cp "$win/src/tagvera.dll" "$win/src/vxmedpltfm.dll" "$win/cli/tagvera.exe" \
  "$win/tests/windows/tagvera_host_check.exe" "$work/bin/"
cp "$root"/samples/* "$work/files/"
cd "$work"

export WINEPREFIX="$win/wine-prefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" LC_ALL=C.UTF-8
# The program's standard error is kept apart; CR LF from anything Windows writes becomes LF.
windows() { "$wine" "$@" 2>>"$work/stderr.log" | tr -d '\r'; }
linux() { "$linux/cli/tagvera" "$@" 2>>"$work/stderr.log"; }
# Wine sees the machine's root as drive Z:.
windows_path() { printf 'Z:%s' "$(realpath "$1" | tr / '\\')"; }

echo "== host check under Wine =="
mkdir host-files
one_of_each=(samples/01-morning-light.mp3 samples/04-sample-song.kmj samples/08-tagged-tune.m4a
  samples/09-evening-tones.wma tests/data/interrogate/clip.flv tests/data/interrogate/song.wav
  tests/data/image/jpeg-rgb-le.jpg)
for f in "${one_of_each[@]}"; do cp "$root/$f" host-files/; done
host_log=$(windows bin/tagvera_host_check.exe tagvera.dll "$(windows_path bin)" host-files/* || true)
printf '%s\n' "$host_log"
[ "$(printf '%s\n' "$host_log" | tail -n 1)" = "host check: passed" ] ||
  fail "host check: $(printf '%s\n' "$host_log" | tail -n 1)"
[ "$(printf '%s\n' "$host_log" | grep -c '^component ')" -ge 8 ] || fail "host check: the component table has fewer than 8 rows"
# What ffprobe found in the fixture (tests/data/interrogate/expected.tsv), through our own WAVE plug-in.
printf '%s\n' "$host_log" | grep -q '^host-files/song.wav: KMAInterrogatePlugin: length 1000,' ||
  fail "host check: song.wav is not 1000 ms through the media platform"

echo "== tagvera.exe info --json on the samples, against the Linux build =="
mkdir set-windows set-linux
cp files/* set-windows/
cp files/* set-linux/
# A name beyond ASCII: the command line, the command and the library's file calls all in UTF-8.
cp files/08-tagged-tune.m4a "set-windows/Zoë café.m4a"
cp files/08-tagged-tune.m4a "set-linux/Zoë café.m4a"
windows bin/tagvera.exe info --json files/* >info-windows.json || true
linux info --json files/* >info-linux.json || true

echo "== tagvera.exe set, then info, on copies =="
title="Set under Wine"
windows bin/tagvera.exe set "Track:Name=$title" set-windows/* >set-windows.log || true
linux set "Track:Name=$title" set-linux/* >set-linux.log || true
cat set-windows.log
(cd set-windows && windows ../bin/tagvera.exe info --json *) >set-info-windows.json || true
(cd set-linux && linux info --json *) >set-info-linux.json || true

# Per file: the same JSON as the Linux build's, or an importer this build lacks (skipped); after
# the set, the new title and the same bytes as the Linux build wrote.
while IFS= read -r line; do
  case $line in
    FAILED:*) fail "${line#FAILED: }" ;;
    *) echo "$line" ;;
  esac
done < <(/usr/bin/python3 - "$title" <<'EOF'
import difflib, filecmp, json, sys
title = sys.argv[1]

# The Windows test platform reads WAVE files alone; for other files only the Linux build's
# libavformat platform gives these, which an importer may take (MP4 its audio and video types).
PLATFORM_KEYS = ("AudioMimeTypes", "VideoMimeTypes")

def platform_only(linux, windows):
    """The keys of linux's statistics that only its media platform gave, taken out of it."""
    ls = linux.get("properties", {}).get("Statistics", {})
    ws = windows.get("properties", {}).get("Statistics", {})
    keys = [k for k in PLATFORM_KEYS if k in ls and k not in ws]
    for k in keys:
        del ls[k]
    return keys

def entries(name):
    try:
        with open(name, encoding="utf-8") as f:
            return {e["path"].replace("\\", "/"): e for e in json.load(f)["files"]}
    except (OSError, ValueError, KeyError) as e:
        print(f"FAILED: {name}: no JSON document ({e})")
        return {}

for windows, linux, after_set in (("info-windows.json", "info-linux.json", False),
                                  ("set-info-windows.json", "set-info-linux.json", True)):
    w, l = entries(windows), entries(linux)
    for path in sorted(l):
        if path not in w:
            print(f"FAILED: {windows}: {path} is missing")
            continue
        if "not built" in w[path].get("error", ""):
            print(f"skipped: {path}: {w[path]['error']}")
            continue
        note = ", ".join(platform_only(l[path], w[path]))
        note = f" (but {note}, from Linux's media platform only)" if note else ""
        if w[path] != l[path]:
            a = json.dumps(l[path], indent=1, sort_keys=True).splitlines()
            b = json.dumps(w[path], indent=1, sort_keys=True).splitlines()
            diff = "\n    ".join(list(difflib.unified_diff(a, b, "linux", "windows", lineterm="", n=0))[2:14])
            print(f"FAILED: {windows}: {path} differs from the Linux build's:\n    {diff}")
        elif after_set and w[path].get("properties", {}).get("Track", {}).get("Name") != title:
            print(f"FAILED: {windows}: {path}: the title did not change")
        elif after_set and not filecmp.cmp(f"set-windows/{path}", f"set-linux/{path}", shallow=False):
            print(f"FAILED: set-windows/{path}: other bytes than the Linux build wrote")
        else:
            print(f"same as Linux: {path}" + (": title set, same bytes written" if after_set else "") + note)
EOF
)

echo "== MP3 tags of every fixture, against the Linux build =="
# Our rules of id3lib stand in for the library on Windows; the bytes must be the same.
mp3_log=$("$root/tests/windows/mp3_tags_identical.sh" "$win" "$linux" 2>&1 || true)
printf '%s\n' "$mp3_log" | tail -n 12
case $(printf '%s\n' "$mp3_log" | tail -n 1) in
  *"written byte-identically") ;;
  *) fail "MP3 tags: $(printf '%s\n' "$mp3_log" | tail -n 1)" ;;
esac

echo "== the platform layer's tests and the GDI+ image check, added to the same tree =="
platform_log=$("$root/tools/test-windows-platform.sh" "$win" 2>&1 || true)
printf '%s\n' "$platform_log" | tail -n 3
[ "$(printf '%s\n' "$platform_log" | tail -n 1)" = "test-windows-platform: passed" ] ||
  fail "platform tests: $(printf '%s\n' "$platform_log" | tail -n 1)"
image_log=$("$root/tools/test-windows-image.sh" "$win" 2>&1 || true)
printf '%s\n' "$image_log" | grep -E '^(wine|FAIL|image check)' | tail -n 8
[ "$(printf '%s\n' "$image_log" | tail -n 1)" = "image check: passed" ] ||
  fail "image check: $(printf '%s\n' "$image_log" | tail -n 1)"

if [ -s stderr.log ] && [ ${#failures[@]} -gt 0 ]; then
  echo "-- standard error of the runs:"
  tail -n 20 stderr.log
fi
finish
