# Shared by the tests beside it: what they stop with, an installation that was moved, and the example of docs/library.md, run.
# shellcheck shell=bash

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# install_below FOLDER [OPTION...]: as a package is made: below FOLDER for the prefix /opt/kmr.
install_below() {
    DESTDIR=$1 "$CMAKE" --install "$BUILD" --prefix /opt/kmr "${@:2}" >"$WORK/install.log"
    if grep 'Installing: ' "$WORK/install.log" | grep -v "$1/opt/kmr/"; then
        fail "installed outside of DESTDIR"
    fi
}

# install_moved: an installation that stands elsewhere than it was made for; $prefix says where.
install_moved() {
    prefix=$WORK/moved
    rm -rf "$WORK"
    mkdir -p "$WORK"
    install_below "$WORK/staging"
    mv "$WORK/staging/opt/kmr" "$prefix"
}

# run_example PROGRAM MODULES: lets the example repair, mark and copy a recording of two I-frames, two seconds apart.
run_example() {
    local folder=$WORK/run
    rm -rf "$folder"
    mkdir -p "$folder/mnt"
    ln -s "$2" "$folder/lib"
    "$BUILD/bin/kmr_make" --output "$folder/mnt/rec" --frames 60 --i-interval 50 >/dev/null
    (cd "$folder" && "$1" "$folder/mnt/rec" copy >report.txt) || fail "the example's status is $?"
    for line in repaired '2 index records' 'first I-frame at 88' 'tag "own goal" at 1420167845' 'no tags'; do
        grep -qx "$line" "$folder/report.txt" || fail "the example does not say '$line'"
    done
    # Alike but for the frame number of the file header, 1000 instead of 60.
    local differences
    differences=$(cmp -l "$folder/mnt/rec" "$folder/copy" | awk '{ print $1 }' | tr '\n' ' ' || true)
    [ "$differences" = "61 62 " ] || fail "recording and copy differ at bytes '$differences'"
}
