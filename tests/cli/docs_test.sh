#!/usr/bin/env bash
# The man page renders without warnings and covers every command, and the bash completion offers
# commands, options and property names in the form the shell reads back:
# docs_test.sh TAGVERA MANPAGE COMPLETION
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

command -v man >/dev/null || { echo "docs_test: no man, skipped"; exit 77; }
warnings=$(MANWIDTH=80 man --warnings -l "$manpage" 2>&1 >/dev/null)
[ -z "$warnings" ] || fail "man -l warns: $warnings"
for c in $("$tagvera" --help | awk '/^Commands:/ { f = 1; next } /^$/ { f = 0 } f { print $1 }'); do
    grep -qx ".SS $c" "$manpage" || fail "the man page has no section for $c"
done
