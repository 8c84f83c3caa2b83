# For scripts that take Debian packages of hard-float ARM without installing them: package lists of their own, so that the
# machine's package database does not hear of another architecture. Needs no root.
# shellcheck shell=bash

# lists_of RELEASE FOLDER: package lists of a release, kept below FOLDER; what `private_apt` then works with.
lists_of() {
    private_lists=$2
    mkdir -p "$private_lists"/lists/partial "$private_lists"/archives/partial "$private_lists"/none
    echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg]" \
        "${DEBIAN_MIRROR:-http://deb.debian.org/debian} $1 main" >"$private_lists/sources.list"
    private_apt update
}

# private_apt COMMAND...: apt-get with these lists. "download" writes into the working directory.
private_apt() {
    apt-get -qq \
        -o Dir::State::lists="$private_lists/lists" -o Dir::State::status=/dev/null \
        -o Dir::Etc::sourcelist="$private_lists/sources.list" -o Dir::Etc::sourceparts="$private_lists/none" \
        -o Dir::Cache::archives="$private_lists/archives" -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache= \
        -o APT::Architecture=armhf -o APT::Architectures::=armhf -o APT::Sandbox::User="$(id -un)" "$@"
}

# may_download: whether packages can and may be downloaded here.
may_download() {
    [ "${KMR_NO_INSTALL:-0}" = 0 ] && command -v apt-get >/dev/null && command -v dpkg-deb >/dev/null
}
