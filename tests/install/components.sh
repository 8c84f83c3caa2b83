#!/usr/bin/env bash
# Each component installs its own: what a program needs to run, what it needs to be built, and the programs; together they
# are everything, and no file is of two.
set -euo pipefail
here=$(dirname "${BASH_SOURCE[0]}")
. "$here/example.sh"
rm -rf "$WORK"
mkdir -p "$WORK"

# files_of FOLDER: what stands below it.
files_of() {
    (cd "$1/opt/kmr" && find . ! -type d | sed 's#^\./##' | sort)
}

for component in runtime dev tools; do
    install_below "$WORK/$component" --component "$component"
    files_of "$WORK/$component" >"$WORK/$component.txt"
done
install_below "$WORK/all"
files_of "$WORK/all" >"$WORK/all.txt"
sort "$WORK"/{runtime,dev,tools}.txt | diff "$WORK/all.txt" - || fail "the components are not what is installed without one"

# only COMPONENT PATTERN...: every file fits a pattern, and every pattern a file.
only() {
    local component=$1 pattern patterns=()
    for pattern in "${@:2}"; do
        grep -qxE "$pattern" "$WORK/$component.txt" || fail "component $component has no $pattern"
        patterns+=(-e "$pattern")
    done
    if grep -vxE "${patterns[@]}" "$WORK/$component.txt"; then fail "component $component has these files"; fi
}
only runtime "$LIBDIR/libkmr\.so\.1" "$LIBDIR/libkmr\.so\.1\.[0-9.]+"
only dev 'include/kmr/.*\.h' "$LIBDIR/libkmr\.so" "$LIBDIR/libkmr\.a" "$LIBDIR/pkgconfig/kmr\.pc" \
    "$LIBDIR/cmake/kmr/kmr-(config|config-version|targets|targets-[a-z]+)\.cmake" 'share/man/man3/kmr.*\.3'
tools=(bin/kmr_viewer bin/kmr_make "$LIBDIR/kmr/libznfs\.so" "$LIBDIR/kmr/libsznfs\.so"
    'share/kmr/(demo\.h264|kmr\.magic)' 'share/mime/packages/kmr\.xml' 'share/man/man[15]/kmr.*\.[15]'
    'share/bash-completion/completions/kmr.*' 'share/zsh/site-functions/_kmr.*' 'share/fish/vendor_completions\.d/kmr.*\.fish')
[ ! -e "$BUILD/bin/kmr" ] || tools+=(bin/kmr)
only tools "${tools[@]}"

# By this name programs ask for it.
library=$WORK/runtime/opt/kmr/$LIBDIR/libkmr.so.1
"$ELF_READER" --dynamic --wide "$library" | grep -q '(SONAME).*\[libkmr\.so\.1\]' || fail "the library has another name"
echo "components: $(wc -l <"$WORK/all.txt") files"
