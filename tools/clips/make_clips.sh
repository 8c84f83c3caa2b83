#!/bin/sh
# Encodes the two demo clips anew: 75 frames of 320x240 at 25 frames per second, an I-frame every 25 frames, no
# B-frames, the parameter sets in front of every I-frame. Needs ffmpeg with libx264 and libx265.
set -eu
cd "$(dirname "$0")"

picture='testsrc2=size=320x240:rate=25'
common='-frames:v 75 -pix_fmt yuv420p -fflags +bitexact -flags:v +bitexact -map_metadata -1'

# shellcheck disable=SC2086 # the options are words of their own
ffmpeg -y -v error -f lavfi -i "$picture" $common -c:v libx264 -preset veryslow -crf 38 -threads 1 \
    -x264-params 'keyint=25:min-keyint=25:scenecut=0:bframes=0:repeat-headers=1:annexb=1:slices=1' \
    -bsf:v 'filter_units=remove_types=6' -f h264 demo.h264

# shellcheck disable=SC2086
ffmpeg -y -v error -f lavfi -i "$picture" $common -c:v libx265 -preset veryslow -crf 38 \
    -x265-params 'keyint=25:min-keyint=25:scenecut=0:open-gop=0:bframes=0:repeat-headers=1:info=0:pools=1:frame-threads=1:log-level=error' \
    -bsf:v 'filter_units=remove_types=39|40' -f hevc demo.h265
