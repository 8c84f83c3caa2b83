#!/usr/bin/env bash
# need_test.sh COMMON: `need` of scripts/common.sh on machines that consist of nothing but a folder of programs.
set -euo pipefail
common=$(realpath "$1")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0

# machine PROGRAM...: an empty machine with what the script itself is made of, and programs that only succeed.
machine() {
    rm -rf "${work:?}/bin"
    mkdir "$work/bin"
    local program
    for program in bash cat dirname grep id nproc rm; do
        ln -s "$(command -v "$program")" "$work/bin/$program"
    done
    for program in "$@"; do
        has "$program" 'exit 0'
    done
    rm -f "$work/apt"
}

# has PROGRAM TEXT: the machine has this program too.
has() {
    printf '#!%s\n%s\n' "$(command -v bash)" "$2" >"$work/bin/$1"
    chmod +x "$work/bin/$1"
}

# Debian, with these packages installed. What apt-get is asked for is kept.
debian() {
    local package
    for package in "$@"; do
        printf '%s ' "$package"
    done >"$work/installed"
    # shellcheck disable=SC2016
    has dpkg-query 'read -r all <"'"$work"'/installed" || :; for last; do :; done
        case " $all " in *" $last "*) echo "install ok installed" ;; *) exit 1 ;; esac'
    # shellcheck disable=SC2016
    has apt-get 'echo "$*" >>"'"$work"'/apt"'
    # shellcheck disable=SC2016
    has env 'shift; "$@"'
    # shellcheck disable=SC2016
    has sudo '"$@"'
}

# A compiler that knows these headers and no others.
compiler_with() {
    local header lines="read -r line; case \$line in"
    for header in "$@"; do
        lines+=" '#include <$header>') exit 0 ;;"
    done
    has c++ "$lines *) echo \"fatal error: \$line\" >&2; exit 1 ;; esac"
}

# needs PACKAGE...: runs `need` there, and leaves what it said in `said` and how it ended in `status`.
needs() {
    status=0
    # shellcheck disable=SC2016
    said=$(env -i PATH="$work/bin" ${no_install+KMR_NO_INSTALL="$no_install"} bash -c \
        'set -euo pipefail; . "$0"; need "$@"; echo "goes on"' "$common" "$@" 2>&1) || status=$?
}

# expect CASE STATUS SAID [APT]: the last `needs` ended so, said that, and asked apt-get for that.
expect() {
    local apt=""
    [ ! -e "$work/apt" ] || apt=$(<"$work/apt")
    if [ "$status" != "$2" ] || [ "$said" != "$3" ] || [ "$apt" != "${4-}" ]; then
        printf 'FAILED: %s\nstatus: %s\nsaid:\n%s\napt-get:\n%s\n\n' "$1" "$status" "$said" "$apt"
        failed=1
    fi
}

unset no_install
machine
debian gcc cmake libgtest-dev
needs gcc cmake libgtest-dev
expect "Debian, all installed" 0 "goes on"

machine
debian gcc
needs gcc cmake libgtest-dev
expect "Debian, two missing" 0 "installing cmake libgtest-dev
goes on" "update -qq
install -y -qq --no-install-recommends cmake libgtest-dev"

machine cmake
debian gcc
needs gcc cmake
expect "Debian, a program from elsewhere" 0 "goes on"

no_install=1
machine
debian gcc
needs gcc cmake libgtest-dev
expect "Debian, not allowed to install" 3 "missing, and nothing is installed here:
  program cmake (Debian package cmake)
  header gtest/gtest.h (Debian package libgtest-dev)"

no_install=0
needs cmake
expect "Debian, allowed by a 0" 0 "installing cmake
goes on" "update -qq
install -y -qq --no-install-recommends cmake"
unset no_install

machine cc cmake readelf arm-linux-gnueabihf-g++
compiler_with gtest/gtest.h gmock/gmock.h
needs gcc g++ cmake binutils libgtest-dev libgmock-dev g++-arm-linux-gnueabihf
expect "another system, all there" 0 "goes on"

machine cc cmake
compiler_with gtest/gtest.h
needs gcc g++ cmake libgtest-dev libgmock-dev
expect "another system, a library missing" 3 "missing, and nothing is installed here:
  header gmock/gmock.h (Debian package libgmock-dev)"

machine
needs gcc libbenchmark-dev
expect "another system, nothing there" 3 "missing, and nothing is installed here:
  program cc (Debian package gcc)
  header benchmark/benchmark.h (Debian package libbenchmark-dev)"

machine
debian
rm "$work/bin/apt-get"
needs make
expect "a package database and nothing that installs" 3 "missing, and nothing is installed here:
  program make (Debian package make)"

[ $failed -eq 0 ] && echo "need: as promised"
exit $failed
