#!/bin/sh
# Each module exports what programs and the layer look up, nothing else, and needs no C++ library.
# exports_test.sh <nm> <readelf> <libznfs.so> <libsznfs.so>
nm=$1 readelf=$2 module_0=$3 module_1=$4
failed=0

common='ChangeTime Close Eof Format Open Read Seek SetUsrParam Stat Statfs Tell Unlink Write error fsync ftruncate'
only_0='BlockStat ChangeCreateTime ChangeRecType DeInit GetBlockInfo GetFileNum GetUsedBlockNum Init Lock Mount
        UpdataePreRecPtr'
only_1='CloseDir OpenDir ReadDir Rename ScanDir fcntl'

sorted() { tr -s ' ' '\n' | grep . | LC_ALL=C sort; }

check() { # <what> <expected> <found>
    if [ "$2" != "$3" ]; then
        printf '%s\nexpected:\n%s\nfound:\n%s\n' "$1" "$2" "$3"
        failed=1
    fi
}

# Names that begin with two underscores come from the tools that built the library.
exported() { "$nm" -D --defined-only "$1" | awk '{print $NF}' | sed 's/@.*//' | grep -v '^__' | grep -v '^_\(init\|fini\)$' | sorted; }
prefixed() { for name in $2; do echo "$1$name"; done | sorted; }

check "$module_0" "$(prefixed znfs_ "$common $only_0")" "$(exported "$module_0")"
check "$module_1" "$(prefixed sznfs_ "$common $only_1")" "$(exported "$module_1")"

for module in "$module_0" "$module_1"; do
    check "C++ libraries that $module needs" '' "$("$readelf" -d "$module" | grep -E 'NEEDED.*(stdc|gcc_s|libm)')"
    check "soname of $module" "[$(basename "$module")]" "$("$readelf" -d "$module" | awk '/SONAME/ {print $NF}')"
done
exit $failed
