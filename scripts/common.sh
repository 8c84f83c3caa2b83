# Shared by the scripts: where things are, what must be installed, how to build.
# shellcheck shell=bash

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc 2>/dev/null || echo 2)

# What kmr is built with, and what the tests of everything want besides; used by the scripts that read this file.
# shellcheck disable=SC2034
{
    program_packages=(libcli11-dev rapidjson-dev libsqlite3-dev pkg-config libavformat-dev libavcodec-dev libavutil-dev
        libjs-dygraphs librsvg2-dev)
    test_packages=(libgtest-dev libgmock-dev "${program_packages[@]}" python3-jsonschema ffmpeg libxml2-utils w3c-sgml-lib
        mandoc abigail-tools)
}

# as_root COMMAND...: through sudo where the user is not root.
as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# finds WORD...: what the packages of `need` are there for, found without any package database.
finds() {
    # shellcheck disable=SC2086 # CXX may carry options
    case $1 in
        program) command -v "$2" >/dev/null ;;
        file) [ -e "$2" ] ;;
        header) printf '#include <%s>\n' "$2" | ${CXX:-c++} -std=c++17 -fsyntax-only -x c++ - 2>/dev/null ;;
    esac
}

# purpose PACKAGE: what a Debian package is needed for, as words for `finds`.
purpose() {
    case $1 in
        gcc) echo "program ${CC:-cc}" ;;
        g++) echo "program ${CXX:-c++}" ;;
        clang) echo "program clang++" ;;
        abigail-tools) echo "program abidiff" ;;
        binutils) echo "program readelf" ;;
        libgtest-dev) echo "header gtest/gtest.h" ;;
        libgmock-dev) echo "header gmock/gmock.h" ;;
        libbenchmark-dev) echo "header benchmark/benchmark.h" ;;
        libcli11-dev) echo "header CLI/CLI.hpp" ;;
        rapidjson-dev) echo "header rapidjson/writer.h" ;;
        libjs-dygraphs) echo "file /usr/share/javascript/dygraphs/dygraph.min.js" ;;
        python3-selenium) echo "file /usr/lib/python3/dist-packages/selenium" ;;
        chromium-driver) echo "program chromedriver" ;;
        libsqlite3-dev) echo "header sqlite3.h" ;;
        libavformat-dev) echo "header libavformat/avformat.h" ;;
        libavcodec-dev) echo "header libavcodec/avcodec.h" ;;
        libavutil-dev) echo "header libavutil/avutil.h" ;;
        librsvg2-dev) echo "file /usr/include/librsvg-2.0/librsvg/rsvg.h" ;;
        libxml2-utils) echo "program xmllint" ;;
        w3c-sgml-lib) echo "file /usr/share/xml/w3c-sgml-lib/schema/dtd/REC-SVG11-20110816/svg11.dtd" ;;
        googletest) echo "file /usr/src/googletest/CMakeLists.txt" ;;
        qemu-utils) echo "program qemu-img" ;;
        e2fsprogs) echo "file /sbin/mke2fs" ;;
        ninja-build) echo "program ninja" ;;
        qemu-user) echo "program qemu-arm" ;;
        g++-*) echo "program ${1#g++-}-g++" ;;
        python3-jsonschema) echo "file /usr/lib/python3/dist-packages/jsonschema" ;;
        shared-mime-info) echo "program update-mime-database" ;;
        nodejs) echo "program node" ;;
        libglib2.0-bin) echo "program gio" ;;
        time) echo "file /usr/bin/time" ;;
        *) echo "program $1" ;; # cmake, make, clang-format and others that are called as their package is
    esac
}

# there PACKAGE: whether a package is installed, or what it is needed for comes from somewhere else.
there() {
    local words
    read -ra words <<<"$(purpose "$1")"
    dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q 'ok installed' || finds "${words[@]}"
}

# may_install: whether packages can and may be installed here.
may_install() {
    [ "${KMR_NO_INSTALL:-0}" = 0 ] && command -v dpkg-query >/dev/null && command -v apt-get >/dev/null
}

# need PACKAGE...: installs the Debian packages that are missing. On another system, or with KMR_NO_INSTALL=1, it names
# them and what they are needed for, and ends the script with status 3.
need() {
    local package missing=()
    for package in "$@"; do
        there "$package" || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    if may_install; then
        echo "installing ${missing[*]}" >&2
        as_root apt-get update -qq >&2
        as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
        return
    fi
    echo "missing, and nothing is installed here:" >&2
    for package in "${missing[@]}"; do
        printf '  %s (Debian package %s)\n' "$(purpose "$package")" "$package" >&2
    done
    exit 3
}

# quietly COMMAND...: shows what it printed, and the command itself, only when it fails.
quietly() {
    local log status
    log=$(mktemp)
    if "$@" >"$log" 2>&1; then
        rm -f "$log"
        return 0
    else
        status=$?
    fi
    cat "$log" >&2
    rm -f "$log"
    printf 'failed:' >&2
    printf ' %q' "$@" >&2
    printf '\n' >&2
    return "$status"
}

# build FOLDER [CMAKE OPTION...]: configures and builds into FOLDER.
build() {
    local folder=$1
    shift
    quietly cmake -S "$root" -B "$folder" "$@" && quietly cmake --build "$folder" --parallel "$jobs"
}
