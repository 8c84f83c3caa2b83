#!/bin/sh
# No folder includes a header of a folder above it.
# includes_test.sh <source folder> [<table>]: names each include that the table of folders does not allow.
table=${2:-$(dirname "$0")/folders}
case $table in /*) ;; *) table=$PWD/$table ;; esac
cd "$1" || exit 1

# Tests, fuzz targets and benchmarks look at everything, and nothing may look at them; cmake/ and build*/ hold what is no
# source. A folder that was configured is no source.
sources() {
    find . -mindepth 1 \( -path ./tests -o -path ./fuzz -o -path ./bench -o -path ./cmake -o -path './build*' \
        -o -name '.?*' \) -prune -o \
        -type d -exec test -e '{}/CMakeCache.txt' \; -prune -o \
        -type f \( -name '*.c' -o -name '*.cpp' -o -name '*.h' -o -name '*.hpp' \) -print | sed 's#^\./##'
}

# One line per include: the source, then the header.
includes() {
    sources | while IFS= read -r source; do
        echo "$source"
        sed -n 's#^[[:space:]]*\#[[:space:]]*include[[:space:]]*"\([^"]*\)".*#\1#p' "$source" |
            while IFS= read -r header; do
                if [ -e "$header" ]; then echo "$source $header"; else echo "$source $header missing"; fi
            done
    done
}

includes | awk '
    function complain(text) { print text; failed = 1 }
    # The listed folder that a file lies in, the nearest one; empty when there is none.
    function folder_of(file) {
        while (sub(/\/[^\/]*$/, "", file))
            if (file in listed)
                return file
        return ""
    }
    reading == "table" {
        sub(/#.*/, "")
        if (NF == 0)
            next
        for (i = 2; i <= NF; ++i) {
            if (!($i in listed) && folder_of($i) == "")
                complain($1 ": " $i " does not stand on an earlier line")
            allowed[$1, $i] = 1
        }
        listed[$1] = 1
        next
    }
    { ++sources }
    folder_of($1) == "" { complain($1 ": its folder is not in the table") }
    NF == 1 { next }
    NF == 3 { complain($1 ": there is no " $2 " below the source folder"); next }
    {
        from = folder_of($1)
        to = folder_of($2)
        if (from != to && !((from, to) in allowed) && !((from, $2) in allowed))
            complain($1 ": " from " may not include " $2)
    }
    END {
        if (sources == 0)
            complain("no source was found")
        exit failed
    }' reading=table "$table" reading=sources -
