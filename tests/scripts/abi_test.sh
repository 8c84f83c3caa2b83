#!/usr/bin/env bash
# abi_test.sh SOURCES: scripts/abi lets the library pass against the description that is committed, and one of fewer names;
# it stops where a name is gone, a layout is another one, or a function takes or gives something else.
set -euo pipefail
sources=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0

# gives STATUS WHAT: compared with $work/other.abi.
gives() {
    local status=0
    "$sources/scripts/abi" --against "$work/other.abi" >"$work/said" 2>&1 || status=$?
    [ "$status" = "$1" ] && return
    echo "$2: status $status instead of $1"
    cat "$work/said"
    failed=1
}

# other PROGRAM: the committed description, changed by a program of sed.
other() {
    sed -E "$1" "$sources/abi/libkmr.abi" >"$work/other.abi"
    [ "$1" = '' ] || ! cmp -s "$sources/abi/libkmr.abi" "$work/other.abi" || {
        echo "the description does not hold what is changed: $1"
        exit 1
    }
}

other ''
gives 0 "as committed"
other "/elf-symbol name='rec_Stat'/d; /<function-decl name='rec_Stat'/,/<\/function-decl>/d"
gives 0 "a new function"
other "/elf-symbol name='g_iUsbNum'/d; /<var-decl name='g_iUsbNum'/d"
gives 0 "a new variable"
other "/elf-symbol name='rec_Stat'/{p; s/rec_Stat/rec_Was/}"
gives 1 "a function that is gone"
for words in rec_Was 'scripts/abi --accept'; do
    grep -q -- "$words" "$work/said" && continue
    echo "a function that is gone: nothing says $words"
    failed=1
done
other "/elf-symbol name='g_iUsbNum'/{p; s/g_iUsbNum/g_iWas/}"
gives 1 "a variable that is gone"
other "s/(class-decl name='vfs_stat_record' size-in-bits=')1856/\12048/"
gives 1 "a record of another size"
other "s/(layout-offset-in-bits=')1024'/\1992'/"
gives 1 "a field in another place"
other "/<function-decl name='rec_Stat'/,/<\/function-decl>/{0,/<parameter/{/<parameter/d}}"
gives 1 "a function that takes more"
exit $failed
