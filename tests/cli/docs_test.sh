#!/usr/bin/env bash
# The man page renders without warnings and covers every command: docs_test.sh TAGVERA MANPAGE
set -euo pipefail
tagvera=$1 manpage=$2
fail() { echo "docs_test: $*" >&2; exit 1; }

command -v man >/dev/null || { echo "docs_test: no man, skipped"; exit 77; }
warnings=$(MANWIDTH=80 man --warnings -l "$manpage" 2>&1 >/dev/null)
[ -z "$warnings" ] || fail "man -l warns: $warnings"
for c in $("$tagvera" --help | awk '/^Commands:/ { f = 1; next } /^$/ { f = 0 } f { print $1 }'); do
    grep -qx ".SS $c" "$manpage" || fail "the man page has no section for $c"
done
