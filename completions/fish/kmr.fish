# Completion of kmr for fish.
set -l commands check show frames ls query merge repair undo tag copy extract report plot
set -l none "not __fish_seen_subcommand_from $commands"
set -l any "__fish_seen_subcommand_from $commands"

# The word at the cursor with each suffix at its end, in the place of one that it has begun ("video.m").
function __kmr_named
    set -l word (string replace -r -- '^--output=' '' (commandline -ct))
    set -l stem (string replace -rf -- '(?<=[^/])\.[^./]*$' '' $word)
    set -l begun (string replace -rf -- '.*[^/](\.[^./]*)$' '$1' $word)
    set -l fitting
    test -n "$begun"; and set fitting (string match -- "$begun*" $argv)
    if set -q fitting[1]
        printf '%s\n' $stem$fitting
    else if string match -qr -- '^[^-].*(?<!/)$' $word
        printf '%s\n' $word$argv
    end
end

complete -c kmr -n $none -f
complete -c kmr -n $none -s h -l help -d 'print the commands'
complete -c kmr -n $none -l version -d 'print the version'
complete -c kmr -n $none -a check -d 'judges recordings'
complete -c kmr -n $none -a show -d 'shows what a recording is, on one screen'
complete -c kmr -n $none -a frames -d 'tabulates the frames of a recording'
complete -c kmr -n $none -a ls -d 'lists recordings by their start'
complete -c kmr -n $none -a query -d 'lists the recordings that an index file names'
complete -c kmr -n $none -a merge -d 'joins the databases of many machines'
complete -c kmr -n $none -a repair -d 'mends recordings, and keeps a way back'
complete -c kmr -n $none -a undo -d 'takes the last change of a recording back'
complete -c kmr -n $none -a tag -d 'lists the tags of a recording and changes them'
complete -c kmr -n $none -a copy -d 'copies a part of a recording into a recording of its own'
complete -c kmr -n $none -a extract -d 'takes video or sound out of a recording'
complete -c kmr -n $none -a report -d 'makes a page about a recording'
complete -c kmr -n $none -a plot -d 'draws the time line of a recording'

complete -c kmr -n $any -s h -l help -d 'print the options'
complete -c kmr -n $any -l color -xa 'auto always never' -d 'colours'
complete -c kmr -n $any -l utc -d 'times in UTC'

complete -c kmr -n '__fish_seen_subcommand_from check' -s v -l verbose -d 'a line for each finding'
complete -c kmr -n '__fish_seen_subcommand_from check' -l json -d 'one JSON object a line'
complete -c kmr -n '__fish_seen_subcommand_from check' -l all-findings -d 'list more than 100 findings of one code'
complete -c kmr -n '__fish_seen_subcommand_from check' -l strict -d 'what is no recording counts in folders too'
complete -c kmr -n '__fish_seen_subcommand_from check' -s j -l jobs -x -d 'so many files at once'
complete -c kmr -n '__fish_seen_subcommand_from check' -l db -rF -d 'keep the results in this database'
complete -c kmr -n '__fish_seen_subcommand_from check' -l recheck -d 'read everything, changed or not'
complete -c kmr -n '__fish_seen_subcommand_from check' -l host -x -d 'name of this machine in the database'

complete -c kmr -n '__fish_seen_subcommand_from show' -l json -d 'one JSON object a line'

complete -c kmr -n '__fish_seen_subcommand_from frames' -l format -xa 'table csv json' -d 'table, CSV or JSON'
complete -c kmr -n '__fish_seen_subcommand_from frames' -l type -xa 'I P' -d 'I-frames or P-frames alone'
complete -c kmr -n '__fish_seen_subcommand_from frames' -l from -x -d 'from here on'
complete -c kmr -n '__fish_seen_subcommand_from frames' -l to -x -d 'before here'
complete -c kmr -n '__fish_seen_subcommand_from frames' -l gaps -d 'frames before which numbers are missing'
complete -c kmr -n '__fish_seen_subcommand_from frames' -l user-data -d 'with the user data'

complete -c kmr -n '__fish_seen_subcommand_from ls' -l json -d 'one JSON object a line'

complete -c kmr -n '__fish_seen_subcommand_from query' -l from -x -d 'from here on'
complete -c kmr -n '__fish_seen_subcommand_from query' -l to -x -d 'before here'
complete -c kmr -n '__fish_seen_subcommand_from query' -l channel -x -d 'of this channel alone'
complete -c kmr -n '__fish_seen_subcommand_from query' -l kind -x -d 'of this kind alone'
complete -c kmr -n '__fish_seen_subcommand_from query' -l json -d 'one JSON object a line'

complete -c kmr -n '__fish_seen_subcommand_from repair' -s n -l dry-run -d 'only say what would be done'
complete -c kmr -n '__fish_seen_subcommand_from repair' -l json -d 'one JSON object a line'
complete -c kmr -n '__fish_seen_subcommand_from repair' -s y -l yes -d 'mend without asking'
complete -c kmr -n '__fish_seen_subcommand_from repair' -l like-recorder -d 'as the recorder\'s own repair'
complete -c kmr -n '__fish_seen_subcommand_from repair' -l no-undo -d 'keep no way back'
complete -c kmr -n '__fish_seen_subcommand_from repair' -s o -l output -rF -d 'write a mended copy'
complete -c kmr -n '__fish_seen_subcommand_from repair' -l force -d 'replace what is there'

complete -c kmr -n '__fish_seen_subcommand_from tag' -l dry-run -d 'only say what would be done'
complete -c kmr -n '__fish_seen_subcommand_from tag' -l no-undo -d 'keep no way back'
complete -c kmr -n '__fish_seen_subcommand_from tag' -l json -d 'one JSON object a line'
complete -c kmr -n '__fish_seen_subcommand_from tag; and not __fish_seen_subcommand_from add change remove' \
    -a 'add change remove'

complete -c kmr -n '__fish_seen_subcommand_from copy' -l from -x -d 'from here on'
complete -c kmr -n '__fish_seen_subcommand_from copy' -l to -x -d 'before here'
complete -c kmr -n '__fish_seen_subcommand_from copy' -l force -d 'replace what is there'

complete -c kmr -n '__fish_seen_subcommand_from extract' -s o -l output \
    -rFa '(__kmr_named .mp4 .mkv .h264 .h265 .mjpeg .raw)' -d 'what to write, by its suffix'
complete -c kmr -n '__fish_seen_subcommand_from extract' -l from -x -d 'from here on'
complete -c kmr -n '__fish_seen_subcommand_from extract' -l to -x -d 'before here'
complete -c kmr -n '__fish_seen_subcommand_from extract' -l audio -xa 'alaw mulaw s16le u8' \
    -d 'with the sound, coded like this'
complete -c kmr -n '__fish_seen_subcommand_from extract' -l close-pauses -x -d 'shorten longer pauses'
complete -c kmr -n '__fish_seen_subcommand_from extract' -l keep-damaged -d 'leave out encrypted frames alone'
complete -c kmr -n '__fish_seen_subcommand_from extract' -l strip-user-data -d 'without the recorder\'s own unit'
complete -c kmr -n '__fish_seen_subcommand_from extract' -l force -d 'replace what is there'

complete -c kmr -n '__fish_seen_subcommand_from report' -s o -l output -rFa '(__kmr_named .html)' -d 'the page'
complete -c kmr -n '__fish_seen_subcommand_from report' -l video -d 'with the video'
complete -c kmr -n '__fish_seen_subcommand_from report' -l force -d 'replace what is there'

complete -c kmr -n '__fish_seen_subcommand_from plot' -s o -l output -rFa '(__kmr_named .svg .png)' -d 'the picture'
complete -c kmr -n '__fish_seen_subcommand_from plot' -l width -x -d 'in pixels'
complete -c kmr -n '__fish_seen_subcommand_from plot' -l height -x -d 'in pixels'
complete -c kmr -n '__fish_seen_subcommand_from plot' -l force -d 'replace what is there'
