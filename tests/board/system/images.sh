# What the emulated machine starts from, and its disks.
# shellcheck shell=bash disable=SC2154 # machine_folder and here are the caller's

disk_size=64M

# make_initrd BUILD BOARD_ROOT: `initrd` in the machine's folder: tools, modules of the kernel, the board's programs with the
# libc that they ask for, and what is run there.
make_initrd() {
    local tree=$machine_folder/tree kernel=$machine_folder/kernel
    rm -rf "$tree"
    mkdir -p "$tree"/{dev,proc,sys,data,tmp,lib/modules,bin,board/bin/lib,board/tests/bin}
    cp "$kernel"/bin/* "$tree/bin"
    cp "$kernel"/modules/* "$tree/lib/modules"
    cp -r "$here/guest" "$here/../render" "$tree/board"
    cp "$here/guest/init" "$tree/init"
    cp "$1/bin/kmr_viewer" "$tree/board/bin"
    cp "$1"/bin/lib/* "$tree/board/bin/lib"
    cp "$1/tests/bin/board_services" "$tree/board/tests/bin"
    libc_of "$1/bin/kmr_viewer" "$2" | while read -r path; do
        mkdir -p "$tree$(dirname "$path")"
        cp -L "$2$path" "$tree$path"
    done
    (cd "$tree" && find . | sort | cpio -o -H newc --quiet) | gzip -1 >"$machine_folder/initrd"
}

# libc_of PROGRAM BOARD_ROOT: paths on the board of its loader and of the libc, where that is not the loader itself.
libc_of() {
    LC_ALL=C readelf -l "$1" | sed -n 's/.*program interpreter: \(.*\)]/\1/p'
    LC_ALL=C readelf -d "$1" | sed -n 's/.*(NEEDED).*\[\(libc\.so\.6\)\]/\/lib\/\1/p'
}

# make_disk IMAGE FOLDER BLOCK_SIZE: an ext4 file system that holds what is in FOLDER. The same bytes every time.
make_disk() {
    rm -f "$1"
    truncate -s $disk_size "$1"
    quietly env E2FSPROGS_FAKE_TIME=1420167845 mke2fs -t ext4 -b "$3" -U 01020304-0506-0708-090a-0b0c0d0e0f10 \
        -E root_owner=0:0,hash_seed=01020304-0506-0708-090a-0b0c0d0e0f10,lazy_itable_init=0,nodiscard -d "$2" "$1"
}

# files_of IMAGE FOLDER: all that its file system holds, without mounting it.
files_of() {
    rm -rf "$2"
    mkdir -p "$2"
    debugfs -R "rdump / \"$2\"" "$1" 2>"$2.log" >/dev/null
}
