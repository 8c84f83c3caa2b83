# An emulated machine with a kernel of its own, one disk and a console. Started once; what its memory held then is kept, and
# every further machine goes on from there in a moment.
# shellcheck shell=bash disable=SC2154 # machine_folder is the caller's
#
# `machine_folder` is where its console and its memory are; one machine at a time.

# pipes NAME: a pair of pipes for one of its serial lines.
pipes() {
    rm -f "$machine_folder/$1.in" "$machine_folder/$1.out"
    mkfifo "$machine_folder/$1.in" "$machine_folder/$1.out"
}

# start_machine DISK OPTION...: DISK as the emulator's options of a drive.
start_machine() {
    pipes console
    pipes monitor
    exec {to_console}<>"$machine_folder/console.in" {from_console}<>"$machine_folder/console.out" \
        {to_monitor}<>"$machine_folder/monitor.in" {from_monitor}<>"$machine_folder/monitor.out"
    qemu-system-arm -M virt -cpu cortex-a15 -m 256 -nodefaults -display none -no-reboot \
        -serial "pipe:$machine_folder/console" -monitor "pipe:$machine_folder/monitor" \
        -kernel "$machine_folder/kernel/vmlinuz" -initrd "$machine_folder/initrd" \
        -append "console=ttyAMA0 quiet panic=-1" \
        -drive "if=none,id=disk,cache=writeback,$1" -device virtio-blk-device,drive=disk \
        "${@:2}" >"$machine_folder/emulator.log" 2>&1 &
    machine=$! begun=""
    : >"$machine_folder/console.log"
}

# next_line SECONDS: a line of the console into `line`.
next_line() {
    if ! IFS= read -r -t "$1" -u "$from_console" line; then
        begun+=$line
        return 1
    fi
    line=$begun${line%$'\r'} begun=""
    printf '%s\n' "$line" >>"$machine_folder/console.log"
}

# Seconds until a machine counts as hung. It shares its processor with whatever else runs here.
patience=1200

# wait_for PATTERN: reads the console up to a line that matches.
wait_for() {
    local until=$((SECONDS + patience))
    while [ $SECONDS -lt $until ]; do
        if next_line 1 && [[ $line =~ $1 ]]; then
            return
        fi
        if ! kill -0 "$machine" 2>/dev/null; then
            break
        fi
    done
    echo "the machine does not answer:" >&2
    tail -n 20 "$machine_folder/console.log" "$machine_folder/emulator.log" >&2
    return 1
}

# tell COMMAND: begins a command there.
tell() {
    printf '%s\n' "$1" >&"$to_console"
}

# run_there COMMAND: its status.
run_there() {
    tell "$1"
    wait_for '^status [0-9]+$' && return "${line#status }"
}

# cut_power: at once. The memory is lost, and all that had not been handed to the disk.
cut_power() {
    kill -KILL "$machine" || true
    wait "$machine" || true
    while next_line 0.05; do :; done
    exec {to_console}>&- {from_console}>&- {to_monitor}>&- {from_monitor}>&-
    machine=
} 2>/dev/null

# boot_machine DISK: from the kernel on, and keeps what the memory then holds.
boot_machine() {
    start_machine "$1"
    wait_for '^ready$' || return
    printf '%s\n' 'migrate_set_parameter max-bandwidth 10G' "migrate \"exec:cat >'$machine_folder/memory'\"" >&"$to_monitor"
    local answer="" until=$((SECONDS + patience))
    while [[ $answer != *"status: completed"* ]] && [ $SECONDS -lt $until ]; do
        echo "info migrate" >&"$to_monitor"
        while IFS= read -r -t 0.2 -u "$from_monitor" answer && [[ $answer != *"Migration status"* ]]; do :; done
    done
    cut_power
    [[ $answer == *"status: completed"* ]]
}

# resume_machine DISK: goes on behind the boot, with another disk of the same size.
resume_machine() {
    start_machine "$1" -incoming "exec:cat '$machine_folder/memory'"
    tell ":" # the first character that is sent may be lost
    tell "echo resumed"
    wait_for '^resumed$' && wait_for '^status 0$'
}
