# Shared by the measurements: the program and its yardsticks, built, and a folder to work in.
# shellcheck shell=bash
# shellcheck source=scripts/common.sh
. "$(dirname "${BASH_SOURCE[0]}")/../scripts/common.sh"

bin=$root/build/measure/bin

# prepare_programs PACKAGE...: installs what is missing and builds.
prepare_programs() {
    need g++ cmake make "$@"
    build "$root/build/measure" -DKMR_BUILD_TESTS=OFF -DKMR_BUILD_BENCHMARKS=ON -DKMR_BUILD_GOOGLE_BENCHMARKS=OFF
}

# enter_workspace: a temporary folder with ./lib, removed at the end.
enter_workspace() {
    work=$(mktemp -d "${TMPDIR:-/tmp}/kmr_bench_XXXXXX")
    trap 'rm -rf "$work"' EXIT
    cd "$work" || exit 1
    ln -s "$bin/lib" lib
}

# compose FILE FRAMES: 1,100 bytes a frame, an I-frame every 25 unless i_interval says otherwise.
compose() {
    "$bin/kmr_make" --output "$1" --frames "$2" --i-interval "${i_interval:-25}" --payload 1068 \
        --p-payload 1068 >/dev/null
}

# compose_with_blocks FILE FRAMES: the same with a block of three segments in every frame.
compose_with_blocks() {
    "$bin/kmr_make" --output "$1" --frames "$2" --i-interval "${i_interval:-25}" --payload 950 \
        --p-payload 950 --user-data all --segment osd=CAMERA-01 --segment gps=52.5200N \
        --segment vca_target=5,3 >/dev/null
}

# seconds COMMAND...: wall-clock time of the whole process, its output discarded.
seconds() {
    /usr/bin/time -f %e -o "$work/seconds" "$@" >/dev/null 2>"$work/complaints" || true
    cat "$work/seconds"
}

# processor_seconds COMMAND...: what the process and the system worked for it, to the millisecond, whatever else the
# machine did meanwhile.
processor_seconds() {
    local TIMEFORMAT='%3U %3S'
    { time "$@" >/dev/null 2>"$work/complaints" || true; } 2>"$work/seconds"
    awk '{ print $1 + $2 }' "$work/seconds"
}

# median: the middle one of the numbers that come in, one a line.
median() {
    sort -n | awk '{ value[NR] = $1 } END { print value[int((NR + 1) / 2)] }'
}

# ratio A B: A divided by B, two digits.
ratio() {
    awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'
}
