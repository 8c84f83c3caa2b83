# Completion of kmr_viewer for fish.
complete -c kmr_viewer -f
complete -c kmr_viewer -s a -d 'everything'
complete -c kmr_viewer -s f -rF -d 'the recording'
complete -c kmr_viewer -s h -d 'print the help text'
complete -c kmr_viewer -s i -d 'I-frames only'
complete -c kmr_viewer -s m -d 'frames behind a gap, with -a or -i'
complete -c kmr_viewer -s o -d 'copy the recording to this file'
complete -c kmr_viewer -s q -x -d 'list the videos of Index.dat from one second on and before another'
complete -c kmr_viewer -s s -d 'the file header alone'
complete -c kmr_viewer -s t -d 'the index'
complete -c kmr_viewer -s u -d 'the user data of every frame'
