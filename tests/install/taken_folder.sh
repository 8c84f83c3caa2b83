#!/usr/bin/env bash
# A project that has this one as a folder builds the example and runs it.
set -euo pipefail
here=$(dirname "${BASH_SOURCE[0]}")
. "$here/example.sh"

rm -rf "$WORK"
"$CMAKE" -S "$here/folder" -B "$WORK" -DKMR_SOURCES="$SOURCES" -DCMAKE_CXX_FLAGS="$CFLAGS"
"$CMAKE" --build "$WORK" --parallel 2
[ ! -e "$WORK/kmr/bin/kmr_viewer" ] || fail "the program was built, which nothing needs"
run_example "$WORK/library_example" "$WORK/kmr/bin/lib"
run_example "$WORK/library_example_shared" "$WORK/kmr/bin/lib"
echo "taken as a folder: builds and runs"
