#!/usr/bin/env bash
# The man page renders without warnings and covers every command, the bash completion offers
# commands, options and property names in the form the shell reads back, and docs/json.md names
# every key the --json forms print: docs_test.sh TAGVERA MANPAGE COMPLETION
set -euo pipefail
tagvera=$1 manpage=$2 completion=$3
fail() { echo "docs_test: $*" >&2; exit 1; }

# What the completion offers for LINE (the cursor at its end), one offer a line.
offers() {
    local COMP_LINE="$tagvera $1" COMP_WORDBREAKS=${2-$COMP_WORDBREAKS} COMP_WORDS COMP_CWORD COMPREPLY=()
    local COMP_POINT=${#COMP_LINE}
    read -ra COMP_WORDS <<<"$COMP_LINE"
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    _tagvera
    printf '%s\n' "${COMPREPLY[@]}"
}
source "$completion"
while IFS='|' read -r line wordbreaks expected; do
    if [ "$wordbreaks" = default ]; then got=$(offers "$line"); else got=$(offers "$line" "$wordbreaks"); fi
    grep -qxF -- "$expected" <<<"$got" || fail "after \"$line\": expected \"$expected\", got: $got"
done <<'ROWS'
s|default|set
set --dr|default|--dry-run
set f.mp3 Track:Na|default|Name=
set f.mp3 Track:Na| =|Track:Name=
set f.mp3 ti|default|title=
set f.mp3 Track:CD\ Tr|default|CD\ Track\ #=
rm f.mp3 "Track:CD Tr|default|Track:CD Track #
set --picture co|default|cover=
ROWS

# Every key of every --json form, but the property names of info and the short names of names.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
source_dir=$(cd "$(dirname "$0")/../.." && pwd)
"$tagvera" info --xml "$source_dir/samples/01-morning-light.mp3" >"$work/tree.xml"
export TAGVERA_PREFERENCES=$work/preferences
python3 - "$tagvera" "$source_dir" "$work/tree.xml" <<'PYTHON' || fail "docs/json.md lacks keys"
import json, re, subprocess, sys
tagvera, source, tree = sys.argv[1:]
documented = set(re.findall(r"`(?:[\w\[\]]+[.\]]+)*(\w+)`", open(source + "/docs/json.md").read()))
runs = [(["info", "--json", "01-morning-light.mp3", "02-harbour-lights.mp3", "04-sample-song.kmj", "none.mp3"], "properties"),
        (["components", "--json"], None), (["names", "--json"], "aliases"), (["frames", "--json", "02-harbour-lights.mp3"], None),
        (["km", "--json", "06-tagged-song.kmj"], None), (["asf", "--json", "09-evening-tones.wma"], None),
        (["tree", "show", "--json", tree], None), (["prefs", "list", "--json"], None)]
def keys(doc, skip):
    if isinstance(doc, dict):
        for k, v in doc.items():
            yield k
            if k != skip: yield from keys(v, skip)
    elif isinstance(doc, list):
        for v in doc: yield from keys(v, skip)
missing = {(args[0], k) for args, skip in runs
           for k in keys(json.loads(subprocess.run([tagvera] + args, capture_output=True, text=True, cwd=source + "/samples").stdout), skip)
           if k not in documented}
for command, key in sorted(missing): print(f"docs_test: {command} --json prints \"{key}\", which docs/json.md does not name")
sys.exit(1 if missing else 0)
PYTHON

command -v man >/dev/null || { echo "docs_test: no man, skipped"; exit 77; }
warnings=$(MANWIDTH=80 man --warnings -l "$manpage" 2>&1 >/dev/null)
[ -z "$warnings" ] || fail "man -l warns: $warnings"
for c in $("$tagvera" --help | awk '/^Commands:/ { f = 1; next } /^$/ { f = 0 } f { print $1 }'); do
    grep -qx ".SS $c" "$manpage" || fail "the man page has no section for $c"
done
