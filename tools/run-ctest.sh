#!/usr/bin/env bash
# Runs a build's tests; tests that fail are run once more, alone, with their whole output, so the
# end of a long log shows why. A test that then passes does not fail the run, but is named as
# unsteady (here and in BUILD/unsteady-tests.txt, which .ci/run prints last): it is a fault to find.
# Usage: tools/run-ctest.sh BUILD_DIR [ctest arguments...]
set -uo pipefail
build=$1
shift
rm -f "$build/unsteady-tests.txt"
ctest --test-dir "$build" --output-on-failure -j"$(nproc)" "$@" && exit 0
failed=$(sed -n 's/^[0-9]*:\(.*\)/\1/p' "$build/Testing/Temporary/LastTestsFailed.log" 2>/dev/null)
echo "== the failed tests once more, one at a time =="
ctest --test-dir "$build" --output-on-failure --rerun-failed "$@" || exit 1
printf '%s\n' "$failed" > "$build/unsteady-tests.txt"
echo "unsteady: failed, then passed when run again:"
sed 's/^/  /' "$build/unsteady-tests.txt"
