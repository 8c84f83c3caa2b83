#!/usr/bin/env bash
# Installs, moves what was installed, and uses it: the programs, the package with CMake, the compile line of
# docs/library.md.
set -euo pipefail
here=$(dirname "${BASH_SOURCE[0]}")
. "$here/example.sh"
prefix=$WORK/moved
modules=$prefix/$LIBDIR/kmr
example=$SOURCES/tests/file_op/library_example.c

rm -rf "$WORK"
mkdir -p "$WORK"
DESTDIR=$WORK/staging "$CMAKE" --install "$BUILD" --prefix /opt/kmr >"$WORK/install.log"
if grep 'Installing: ' "$WORK/install.log" | grep -v "$WORK/staging/opt/kmr/"; then
    fail "installed outside of DESTDIR"
fi
mv "$WORK/staging/opt/kmr" "$prefix"
if grep -rlF -e "$SOURCES" -e /opt/kmr -e "$BUILD" "$prefix/$LIBDIR/cmake" "$prefix/include"; then
    fail "these files name a folder of this machine"
fi
find "$prefix/include" -type f ! -name '*.h' | grep . && fail "these headers are not for C"

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
(cd "$WORK/bare" && "$prefix/bin/kmr_viewer" -h >/dev/null) || fail "kmr_viewer does not start"
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

# Every header for itself, as C and as C++.
while read -r header; do
    for language in 'c -std=c11' 'c++ -std=c++20'; do
        # shellcheck disable=SC2086
        "$CC" -x $language -D_GNU_SOURCE -Wall -Wextra -Werror -fsyntax-only -I"$prefix/include/kmr" \
            -include "$header" /dev/null || fail "$header is not complete as $language"
    done
done < <(cd "$prefix/include/kmr" && find . -name '*.h')

"$CMAKE" -S "$here/installed" -B "$WORK/build" -DCMAKE_PREFIX_PATH="$prefix" -DKMR_EXAMPLE="$example"
"$CMAKE" --build "$WORK/build"
run_example "$WORK/build/library_example" "$modules"

line=$(sed -n '/^cc /,/[^\\]$/p' "$SOURCES/docs/library.md" | sed -e "s#\$prefix/lib/#\$prefix/$LIBDIR/#g")
[ -n "$line" ] || fail "no compile line in docs/library.md"
cp "$example" "$WORK/my_tool.c"
# shellcheck disable=SC2086,SC2317 # flags are words; the line calls it
cc() { command "$CC" $CFLAGS "$@"; }
(cd "$WORK" && eval "$line")
run_example "$WORK/my_tool" "$modules"
echo "taken installed: builds and runs"
