# Shared by the scripts: where things are, what must be installed, how to build.
# shellcheck shell=bash

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc 2>/dev/null || echo 2)

# as_root COMMAND...: through sudo where the user is not root.
as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# need PACKAGE...: installs the Debian packages that are missing.
need() {
    local package missing=()
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    echo "installing ${missing[*]}" >&2
    as_root apt-get update -qq >&2
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
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
