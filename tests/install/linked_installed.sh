#!/usr/bin/env bash
# Installs, moves what was installed, and links the library: every header, pkg-config, CMake, and once more after another
# move.
set -euo pipefail
here=$(dirname "${BASH_SOURCE[0]}")
. "$here/example.sh"
install_moved
example=$SOURCES/tests/file_op/library_example.c
headers=$prefix/include/kmr

if grep -rlF -e "$SOURCES" -e /opt/kmr -e "$BUILD" "$prefix/$LIBDIR/cmake" "$prefix/$LIBDIR/pkgconfig" "$headers"; then
    fail "these files name a folder of this machine"
fi
find "$prefix/include" -type f ! -name '*.h' | grep . && fail "these headers are not for C"

# Every header for itself, as C and as C++, below include/kmr and as <kmr/...>. Before C11 a C library may want to be asked
# for static_assert.
while read -r header; do
    [ -e "$SOURCES/$header" ] || fail "$header is none of the sources"
    diff <(grep -v '^#include "' "$SOURCES/$header") <(grep -v '^#include "' "$headers/$header") ||
        fail "$header says something else than in the sources"
    for language in 'c -std=c99 -D_ISOC11_SOURCE' 'c -std=c11' 'c -std=gnu17' 'c++ -std=c++17' 'c++ -std=c++20'; do
        # shellcheck disable=SC2086
        "$CC" -x $language -Wall -Wextra -Werror -fsyntax-only -I"$headers" -include "$header" /dev/null ||
            fail "$header is not complete as $language"
    done
    "$CC" -x c -std=c11 -Wall -Wextra -Werror -fsyntax-only -I"$prefix/include" -include "kmr/$header" /dev/null ||
        fail "kmr/$header is not complete"
done < <(cd "$headers" && find . -name '*.h' | sed 's#^\./##' | sort)

# with_pkg_config PREFIX PROGRAM: the line of docs/library.md.
with_pkg_config() {
    local line
    line=$(sed -n '/^cc .*pkg-config/p' "$SOURCES/docs/library.md")
    [ -n "$line" ] || fail "no compile line in docs/library.md"
    cp "$example" "$WORK/my_tool.c"
    # shellcheck disable=SC2086,SC2317 # flags are words; the line calls it
    cc() { command "$CC" $CFLAGS "$@"; }
    export PKG_CONFIG_PATH=$1/$LIBDIR/pkgconfig
    pushd "$WORK" >/dev/null
    eval "$line"
    popd >/dev/null
    mv "$WORK/my_tool" "$2"
}

# wanted_libraries PROGRAM: what it is linked with besides the platform's own.
wanted_libraries() {
    "$ELF_READER" --dynamic --wide "$1" | sed -n 's/.*(NEEDED).*\[\(libkmr.*\|libznfs.*\|lib.*++.*\)\]$/\1/p' | tr '\n' ' '
}

export PKG_CONFIG_PATH=$prefix/$LIBDIR/pkgconfig
version=$(pkg-config --modversion kmr)
next=$((${version%%.*} + 1))
pkg-config --exists "kmr >= $version" || fail "pkg-config has not version $version"
if pkg-config --exists "kmr >= $next"; then fail "pkg-config takes version $version for $next"; fi
export LD_LIBRARY_PATH=$prefix/$LIBDIR
with_pkg_config "$prefix" "$WORK/by_pkg_config"
[ "$(wanted_libraries "$WORK/by_pkg_config")" = "libkmr.so.1 " ] || fail "a program needs $(wanted_libraries "$WORK/by_pkg_config")"
run_example "$WORK/by_pkg_config" "$prefix/$LIBDIR/kmr"

# A program of C++, with the other form of includes.
sed -n 's|^#include "\(.*/.*\)"|#include <kmr/\1>|p' "$example" >"$WORK/headers.cpp"
echo 'int main() { return vfs_DeInit(); }' >>"$WORK/headers.cpp"
# shellcheck disable=SC2046,SC2086 # flags are words
"$CXX" $CFLAGS -I"$prefix/include" "$WORK/headers.cpp" $(pkg-config --libs kmr) -o "$WORK/headers"
"$WORK/headers" || fail "a program of C++ ends with status $?"
unset LD_LIBRARY_PATH

# by_cmake PREFIX VERSION FOLDER [TARGET]
by_cmake() {
    rm -rf "$3"
    CXX=false "$CMAKE" -S "$here/installed" -B "$3" -DCMAKE_PREFIX_PATH="$1" -DKMR_EXAMPLE="$example" -DKMR_WANTED="$2" \
        -DKMR_TARGET="${4-kmr::kmr}" >"$WORK/cmake.log" 2>&1
}
for wanted in "${version%%.*}" "${version%.*}" "$version"; do
    by_cmake "$prefix" "$wanted" "$WORK/build" || fail "find_package(kmr $wanted): $(cat "$WORK/cmake.log")"
done
"$CMAKE" --build "$WORK/build"
run_example "$WORK/build/library_example" "$prefix/$LIBDIR/kmr"
for refused in "$next" "${version%.*}.$((${version##*.} + 1))" "$((next - 2)).9"; do
    if by_cmake "$prefix" "$refused" "$WORK/refused"; then fail "find_package takes version $version for $refused"; fi
    grep -q "considered but not accepted" "$WORK/cmake.log" || fail "version $refused: $(cat "$WORK/cmake.log")"
done
by_cmake "$prefix" "$version" "$WORK/static" kmr::kmr_static || fail "the static library: $(cat "$WORK/cmake.log")"
"$CMAKE" --build "$WORK/static"
[ -z "$(wanted_libraries "$WORK/static/library_example")" ] || fail "the static library needs a shared one"
run_example "$WORK/static/library_example" "$prefix/$LIBDIR/kmr"

# Moved once more, everything is found where it is now.
mv "$prefix" "$WORK/moved again"
prefix="$WORK/again" # a folder with a blank in its name is more than flags can carry, but not more than links can
ln -s "moved again" "$prefix"
with_pkg_config "$prefix" "$WORK/by_pkg_config_again"
LD_LIBRARY_PATH=$prefix/$LIBDIR run_example "$WORK/by_pkg_config_again" "$prefix/$LIBDIR/kmr"
by_cmake "$WORK/moved again" "$version" "$WORK/build again" || fail "moved again: $(cat "$WORK/cmake.log")"
"$CMAKE" --build "$WORK/build again"
run_example "$WORK/build again/library_example" "$prefix/$LIBDIR/kmr"
echo "linked installed: builds and runs"
