#!/usr/bin/env bash
# Installs, moves what was installed, and uses its programs.
set -euo pipefail
here=$(dirname "${BASH_SOURCE[0]}")
. "$here/example.sh"
install_moved
modules=$prefix/$LIBDIR/kmr

# module_0 FOLDER: the module that the installed program gets when it is started there.
module_0() {
    (cd "$1" && LD_TRACE_LOADED_OBJECTS=1 "$prefix/bin/kmr_viewer" | sed -n 's/.*libznfs.so => \(.*\) (.*/\1/p')
}
mkdir -p "$WORK/bare" "$WORK/linked"
ln -s "$modules" "$WORK/linked/lib"
found=$(module_0 "$WORK/bare")
[ "$(realpath "$found")" = "$(realpath "$modules/libznfs.so")" ] || fail "without ./lib module 0 is '$found'"
found=$(module_0 "$WORK/linked")
[ "$found" = ./lib/libznfs.so ] || fail "with ./lib module 0 is '$found'"

# Without ./lib the program starts, helps, lists what an index file names, and says of a recording what it says where the
# module that serves it is missing: no more than the heading.
(cd "$WORK/bare" && "$prefix/bin/kmr_viewer" -h >/dev/null) || fail "kmr_viewer does not start"
(cd "$WORK/bare" && "$prefix/bin/kmr_make" --index-dat Index.dat --made-up-records 1:0:10 >/dev/null &&
    "$prefix/bin/kmr_viewer" -q 0,1 >query.txt) || fail "kmr_viewer does not list videos without ./lib"
grep -q '^/dev/mmcblk0p2/' "$WORK/bare/query.txt" || fail "kmr_viewer finds no video without ./lib"
(cd "$WORK/bare" && "$prefix/bin/kmr_make" --demo --output demo.kmr && "$prefix/bin/kmr_viewer" -f demo.kmr) \
    >"$WORK/bare.txt" || fail "without ./lib a report ends with status $?"
if grep -q 'Well done :)' "$WORK/bare.txt"; then fail "without ./lib something serves recordings"; fi

(cd "$WORK/linked" && "$prefix/bin/kmr_make" --demo --output demo.kmr && "$prefix/bin/kmr_viewer" -f demo.kmr) \
    >"$WORK/demo.txt"
grep -qx 'Well done :)' "$WORK/demo.txt" || fail "the demo is not sound"
"$prefix/bin/kmr_make" --help | grep -qF "$prefix/share/kmr/demo.h264" || fail "the demo is not the installed clip"
for description in kmr/kmr.magic mime/packages/kmr.xml; do
    [ -s "$prefix/share/$description" ] || fail "$description is not installed"
done

# Every program and every header has its page.
for program in "$prefix"/bin/*; do
    [ -e "$prefix/share/man/man1/${program##*/}.1" ] || fail "${program##*/} has no page"
    [ -e "$prefix/share/bash-completion/completions/${program##*/}" ] || fail "${program##*/} has no completion"
done
while read -r header; do
    [ -e "$prefix/share/man/man3/kmr_$(basename "$header" .h).3" ] || fail "$header has no page"
done < <(find "$prefix/include" -name '*.h')
[ -e "$prefix/share/man/man5/kmr.5" ] || fail "the format has no page"
echo "taken installed: programs run"
