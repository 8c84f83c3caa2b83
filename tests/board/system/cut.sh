# The machine's power is cut while it repairs and tags; another one mounts the disk and looks.
# shellcheck shell=bash disable=SC2034,SC2154 # `any` names its arrays; machine_folder and expected are the caller's

# What may vary, by chance. Disks: one that keeps whatever reached it; one that loses what it was not told to flush, and
# one that loses some of that (blocks that are new since the last flush are found again through tables, which are written
# when it is told to flush, or when there is no room left for more of them).
disks=(keeps_all loses_unflushed loses_some)
block_sizes=(1024 4096)
mounts=(defaults defaults commit=1 nodelalloc data=writeback data=journal sync)
writebacks=(as_it_is at_once at_once)
subjects=(repair tag both both)

# any NAME: one of the elements of this array.
any() {
    local -n from=$1
    chosen=${from[RANDOM % ${#from[@]}]}
}

# choose SEED: all that a cut depends on but the exact moment.
choose() {
    RANDOM=$1
    any disks; disk=$chosen
    any block_sizes; block_size=$chosen
    any mounts; mount_options=$chosen
    any writebacks; writeback=$chosen
    any subjects; subject=$chosen
    mapfile -t names < <(awk -v of="$subject" 'of == "both" || of == $2 { print $1 }' "$expected/operations")
    local i j swap
    for ((i = ${#names[@]} - 1; i > 0; --i)); do
        j=$((RANDOM % (i + 1))) swap=${names[i]}
        names[i]=${names[j]} names[j]=$swap
    done
    after_lines=$((RANDOM % (${#names[@]} + 4))) # behind the last: while all of it is being written back
    milliseconds=$((RANDOM % 40))
    [ "$after_lines" -lt ${#names[@]} ] || milliseconds=$((RANDOM % 2000))
}

# drive_of IMAGE BASE: makes the disk that was chosen, and names it as a drive of the emulator.
drive_of() {
    if [ "$disk" = keeps_all ]; then
        cp --sparse=always "$2" "$1"
        drive="format=raw,file=$1"
        return
    fi
    quietly qemu-img create -f qcow2 -b "$2" -F raw -o cluster_size=512 "$1"
    drive="format=qcow2,file=$1"
    [ "$disk" = loses_unflushed ] || drive+=",l2-cache-size=1024,l2-cache-entry-size=512"
}

# has_lost IMAGE: whether blocks were written that no table names.
has_lost() {
    [ "$disk" != keeps_all ] && [[ $(qemu-img check "$1" 2>&1) == *"leaked clusters"* ]]
}

# work_until_cut: leaves in `reported` how many operations were reported as done.
work_until_cut() {
    resume_machine "$drive" || return
    if [ "$writeback" = at_once ]; then
        run_there "cd /proc/sys/vm; echo 1 >dirty_writeback_centisecs; echo 1 >dirty_expire_centisecs; cd /"
    fi
    tell "work $mount_options ${names[*]}"
    wait_for '^working$' || return
    for ((reported = 0; reported < after_lines && reported < ${#names[@]}; ++reported)); do
        wait_for '^(repair|tag) ' || return
    done
    sleep "$(printf '%d.%03d' $((milliseconds / 1000)) $((milliseconds % 1000)))"
    cut_power
    reported=$(sed '1,/^working$/d' "$machine_folder/console.log" | grep -cE '^(repair|tag) ' || true)
}

# look_at_it FOLDER: by a machine that mounts the disk, and by the file system's own check.
look_at_it() {
    resume_machine "$drive" || return
    local status=0
    run_there look || status=$?
    cut_power
    cp "$machine_folder/console.log" "$1/look.log"
    [ $status -eq 0 ] || { echo "cannot be mounted or read"; return 1; }
    ! grep -qiE 'EXT4-fs.*(error|corrupt|warning)' "$1/look.log" || { echo "the file system complains"; return 1; }
    ! grep -q 'recovery complete' "$1/look.log" || see "journal recovered"
    qemu-img convert -O raw "$1/disk" "$1/disk.raw" || return
    e2fsck -fn "$1/disk.raw" >"$1/e2fsck.log" 2>&1 || { echo "e2fsck finds errors"; return 1; }
    see "file system clean"
    files_of "$1/disk.raw" "$found"
}

# judge_all: the file system's sync covers all that was done before a tag was reported.
judge_all() {
    local i synced=0 operation
    for ((i = 0; i < reported; ++i)); do
        [ "$(operation_of "${names[i]}")" != tag ] || synced=$((i + 1))
    done
    sums=()
    for i in "$expected"/{before,after} "$found"/{left,once_more,mnt}; do
        sum_up "$i"
    done
    while read -r name operation _; do
        local state=open
        for ((i = 0; i < synced; ++i)); do
            [ "${names[i]}" != "$name" ] || state="done"
        done
        [[ " ${names[*]} " != *" $name "* ]] || judge "$name" "$operation" $state
    done <"$expected/operations"
}

operation_of() {
    awk -v name="$1" '$1 == name { print $2 }' "$expected/operations"
}

# one_cut SEED: 1 when anything is wrong; what is needed to see why stays in the folder `cuts/SEED` then.
one_cut() {
    local folder=$machine_folder/cuts/$1 failed=0 drive disk block_size mount_options writeback subject names
    local after_lines milliseconds chosen reported=0
    rm -rf "$folder"
    mkdir -p "$folder"
    found=$folder/found
    choose "$1"
    echo "$disk, blocks of $block_size, $mount_options, written back $writeback, $subject," \
        "$milliseconds ms after $after_lines of ${#names[@]}" >"$folder/choice"
    drive_of "$folder/disk" "$machine_folder/disks/$block_size"
    work_until_cut || { echo "seed $1: the work fails ($(cat "$folder/choice"))"; return 1; }
    cp "$machine_folder/console.log" "$folder/work.log"
    cp --sparse=always "$folder/disk" "$folder/disk.as_cut"
    ! has_lost "$folder/disk" || see "disk lost blocks that it had not been told to flush"
    { look_at_it "$folder" || failed=1; } >"$folder/verdict"
    [ $failed -ne 0 ] || judge_all >>"$folder/verdict"
    if [ $failed -ne 0 ]; then
        echo "seed $1: $(cat "$folder/choice"):"
        cat "$folder/verdict"
        return 1
    fi
    rm -rf "$folder"
}
