# What an undisturbed run makes of the recordings that are being written to when the power goes.
# shellcheck shell=bash disable=SC2154 # expected and here are the caller's

# link_programs BUILD FOLDER: so that they are called by the same names everywhere.
link_programs() {
    ln -sfn "$1/bin/lib" "$2/lib"
    ln -sfn "$1/bin/kmr_viewer" "$2/kmr_viewer"
    ln -sfn "$1/tests/bin/board_services" "$2/services"
}

# expect_of BUILD: in `expected`, the operations, and the recordings before and after.
expect_of() {
    local words recording
    "$here/compose" "$1/bin/kmr_make" "$expected"
    link_programs "$1" "$expected"
    cp -r "$expected/mnt" "$expected/before"
    read -ra words < <(cut -d ' ' -f 2- "$expected/operations" | paste -s -d ' ')
    (cd "$expected" && ./services "${words[@]}" >services.log)
    mv "$expected/mnt" "$expected/after"
    for recording in "$expected"/after/*; do
        is_sound "$recording"
    done
}
