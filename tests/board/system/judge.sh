# What a power cut left of each recording, compared with what it was before, and with what an undisturbed run makes of it.
# docs/durability.md says what may be left.
# shellcheck shell=bash disable=SC2154 # expected and found are the caller's
#
# Looks at the folders before and after of `expected`, and left, once_more and mnt (twice) of `found`. What it sees is
# counted in `seen`, what is wrong goes to standard output.

declare -A seen sums

# sum_up FOLDER: the sums of its recordings, as FOLDER/NAME, for `same`.
sum_up() {
    local sum name
    while read -r sum name; do
        sums[$1/$name]=$sum
    done < <(cd "$1" && sha256sum -- *)
}

# same FILE FILE: by their sums.
same() {
    [ "${sums[$1]}" = "${sums[$2]}" ]
}

# u32_at FILE OFFSET
u32_at() {
    od -An -tu4 --endian=little -j "$2" -N 4 "$1" | tr -d ' '
}

size_of() {
    stat -c %s "$1"
}

# index_of FILE: where its index begins.
index_of() {
    local size
    size=$(size_of "$1")
    echo $((size - $(u32_at "$1" $((size - 4)))))
}

# is_sound FILE: says this machine's program, which the machine's programs are compared with.
is_sound() {
    ln -sf "$1" "$expected/looked_at" # the program takes names of 127 characters at most
    (cd "$expected" && ./kmr_viewer -f looked_at | grep -qx 'Well done :)')
}

wrong() {
    printf '%s: %s\n' "$name" "$1"
    ((++failed))
}

see() {
    seen[$1]=$((${seen[$1]:-0} + 1))
}

# judge NAME OPERATION DONE: whether the operation had been reported as done and synced.
judge() {
    local name=$1 before=$expected/before/$1.kmr after=$expected/after/$1.kmr
    local left=$found/left/$1.kmr again=$found/once_more/$1.kmr
    local index
    if ! [ -e "$left" ] || ! [ -e "$again" ]; then
        wrong "is missing"
        return
    fi
    if [ "$3" = "done" ]; then
        see "had been reported as done and synced"
        same "$left" "$after" || wrong "was synced and is not there"
    fi
    if same "$left" "$before"; then
        see "$2: as before"
    elif same "$left" "$after"; then
        see "$2: as after"
    else
        index=$(index_of "$after")
        "look_at_$2"
    fi
    same "$again" "$after" && return
    index=$(index_of "$after")
    "judge_$2_again"
    is_sound "$again" || wrong "is not sound after the same again"
}

# --- repair ---

look_at_repair() {
    cmp -s -n "$index" "$left" "$before" || wrong "has lost frames"
    if [ "$(size_of "$left")" -eq "$index" ]; then
        see "repair: cut, without an index"
    else
        see "repair: parts of the new index"
    fi
}

# A torn frame whose header is still there is whole again with parts of the new index behind it.
judge_repair_again() {
    see "repair: of these, a torn frame that index bytes have made whole"
    [ "$(u32_at "$before" "$index")" = $((0x02000000)) ] || wrong "is not what an undisturbed repair gives"
    cmp -s -n "$index" "$again" "$before" || wrong "has lost frames in the second repair"
    same "$again" "$found/mnt/$name.kmr" || wrong "changes in a third repair"
}

# --- tags ---

# differing FILE FILE: a line for each differing byte.
differing() {
    cmp -l "$1" "$2" 2>&1 || true
}

# changed_bytes FILE: of the bytes that the change is to change, how many are new: of the text, of the count; how many
# other bytes are not as before; and whether the text lies across a border of the disk.
changed_bytes() {
    {
        differing "$before" "$after" | sed 's/^/to /'
        differing "$before" "$1" | sed 's/^/is /'
    } | awk -v count=$((index + 12)) '
        function part(at) { return at > count && at <= count + 4 ? "count" : "text" }
        function sector(at) { return int((at - 1) / 512) }
        $1 == "to" { new[$2] = $4; ++all[part($2)] }
        $1 == "to" && part($2) == "text" { if (!first) first = $2; last = $2 }
        $1 == "is" { if (($2 in new) && new[$2] == $4) ++there[part($2)]; else ++strange }
        END { print there["text"] + 0, all["text"] + 0, there["count"] + 0, strange + 0,
                    sector(first) != sector(last) }'
}

look_at_tag() {
    local text texts count strange across
    [ "$(size_of "$left")" -eq "$(size_of "$before")" ] || wrong "has another size"
    read -r text texts count strange across < <(changed_bytes "$left")
    if [ "$strange" -ne 0 ]; then
        see "tag: other bytes"
        wrong "has $strange bytes that are neither old nor new"
    elif [ "$text" -ne 0 ] && [ "$text" -ne "$texts" ]; then
        see "tag: the text in part"
        [ "$across" = 1 ] || wrong "has a text in part"
    elif [ "$count" -eq 0 ]; then
        see "tag: the new text, the count not yet"
    else
        see "tag: the count, the new text not yet"
    fi
}

# The text is as it should be; the count one off at most.
judge_tag_again() {
    local off=$(($(u32_at "$again" $((index + 12))) - $(u32_at "$after" $((index + 12)))))
    [ "${off#-}" -le 1 ] || wrong "has a count of tags that is off by $off"
    differing "$again" "$after" | awk -v count=$((index + 12)) '!($1 > count && $1 <= count + 4) { exit 1 }' ||
        wrong "is not set right by the same change"
}
