#!/bin/sh
# The check of the includes notices what it is for.
# includes_check_test.sh <working folder>
check=$(cd "$(dirname "$0")" && pwd)/includes_test.sh
rm -rf "$1" && mkdir -p "$1" && cd "$1" || exit 1
failed=0

mkdir -p tree/low tree/high/deep tree/tests tree/configured
touch tree/low/low.h tree/low/private.h tree/high/high.h tree/configured/CMakeCache.txt
printf 'low\nhigh low/low.h\n' >table

expect() { # <exit status> <what it says> <case>
    said=$(sh "$check" tree table 2>&1)
    status=$?
    if [ $status -ne "$1" ] || [ "$said" != "$2" ]; then
        printf '%s: expected %s "%s", found %s "%s"\n' "$3" "$1" "$2" "$status" "$said"
        failed=1
    fi
}

echo '#include "low/low.h"' >tree/high/deep/a.cpp
echo '#include "high/high.h"' >tree/tests/a_test.cpp
echo '#include "high/high.h"' >tree/configured/low.cpp
expect 0 '' 'an include from above'

echo '  #  include "high/high.h" // up' >tree/low/up.c
expect 1 'low/up.c: low may not include high/high.h' 'an include from below'
rm tree/low/up.c

echo '#include "low/private.h"' >tree/high/b.cpp
expect 1 'high/b.cpp: high may not include low/private.h' 'another header than the one that may be included'
rm tree/high/b.cpp

echo '#include "low.h"' >tree/low/short.cpp
expect 1 'low/short.cpp: there is no low.h below the source folder' 'a path that does not start at the top'
rm tree/low/short.cpp

mkdir tree/new && touch tree/new/new.h
expect 1 'new/new.h: its folder is not in the table' 'a folder without a line'
rm -r tree/new

printf 'low high\nhigh low\n' >table
expect 1 'low: high does not stand on an earlier line' 'a circle in the table'

rm -r tree && mkdir tree
printf 'low\n' >table
expect 1 'no source was found' 'an empty folder'
exit $failed
