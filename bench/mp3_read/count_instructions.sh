#!/usr/bin/env bash
# Instructions per file, counted by callgrind (the same whatever the machine's load), for
# `tagvera info` and the TagLib reader over the corpus files that are read only at their start
# (all but the VBR files without any header, which the scan walks whole): a run over all of
# them, less a run over the first one (start-up), divided by the others.
# Usage: bench/mp3_read/count_instructions.sh CORPUS_DIR   (build folder as in run.sh)
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${TAGVERA_BENCH_BUILD_DIR:-build-bench}
corpus=$1
mapfile -t files < <(find "$corpus" -name '*.mp3' ! -name '*vbr_noxing*' | sort)
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT

count() {  # prints the instructions a command ran
    valgrind --tool=callgrind --callgrind-out-file="$out/cg" "$@" >/dev/null 2>"$out/log"
    sed -n 's/.*Collected : \([0-9]*\).*/\1/p' "$out/log"
}
for tool in tagvera taglib; do
    if [ "$tool" = tagvera ]; then run=("$build/cli/tagvera" info -j 1); else run=("$build/bench/mp3_read/bench_taglib_read"); fi
    all=$(count "${run[@]}" "${files[@]}")
    one=$(count "${run[@]}" "${files[0]}")
    echo "$tool: $(( (all - one) / (${#files[@]} - 1) )) instructions per file (${#files[@]} files)"
done
