#!/usr/bin/env bash
# Checks a Windows build of tagvera as a host meets it: tagvera.dll exports exactly the three entry
# points by their plain names (no "@n" of __stdcall), and tagvera.dll and tagvera.exe import only
# DLLs that every Windows has, so the plug-in folder needs nothing beside them.
# Usage: tools/check-windows-dll.sh BUILD-DIR   (a build-win32/ or build-win64/ tree)
set -euo pipefail
dir=${1:?usage: check-windows-dll.sh BUILD-DIR}
objdump=${OBJDUMP:-objdump}

# The system's DLLs, lower case; api-ms-win-* are the universal C runtime's api sets.
system_dlls=" kernel32.dll advapi32.dll msvcrt.dll ucrtbase.dll ntdll.dll user32.dll gdi32.dll
  ole32.dll oleaut32.dll shell32.dll shlwapi.dll bcrypt.dll gdiplus.dll "
expected_exports="KMACreateInstance KMAShutdown SetDLLAccessPath"

dll=$(find "$dir" -maxdepth 2 -name tagvera.dll -type f | head -n1)
[ -n "$dll" ] || { echo "check-windows-dll: no tagvera.dll under $dir" >&2; exit 1; }
exe=$(find "$dir" -maxdepth 2 -name tagvera.exe -type f | head -n1)
status=0

exports=$("$objdump" -p "$dll" | sed -n '/^\[Ordinal\/Name Pointer\] Table/,/^$/s/^\s*\[ *[0-9]*\] //p' |
  sort | tr '\n' ' ' | sed 's/ $//')
if [ "$exports" = "$expected_exports" ]; then
  echo "$dll exports: $exports"
else
  echo "FAIL: $dll exports \"$exports\", expected \"$expected_exports\"" >&2
  status=1
fi

for file in "$dll" $exe; do
  imports=$("$objdump" -p "$file" | sed -n 's/^\s*DLL Name: //p' | sort -u)
  for name in $imports; do
    lower=$(printf '%s' "$name" | tr '[:upper:]' '[:lower:]')
    case "$lower" in api-ms-win-*) continue ;; esac
    case "$system_dlls" in *" $lower "*) ;; *)
      echo "FAIL: $file imports $name, which is not a system DLL" >&2
      status=1 ;;
    esac
  done
  echo "$file imports: $(printf '%s ' $imports)"
done
exit $status
