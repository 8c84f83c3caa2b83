#!/bin/sh
# Pictures are valid SVG 1.1, as its own definition says.
# svg_valid_test.sh <kmr> <kmr_make> <svg11.dtd> <working folder>
set -e
kmr=$1 kmr_make=$2 definition=$3
rm -rf "$4" && mkdir -p "$4" && cd "$4"

number=0
picture() { # <option of kmr_make>...
    number=$((number + 1))
    "$kmr_make" --output "$number.kmr" --frames 200 --i-interval 10 --payload 300 --p-payload 100 "$@" >/dev/null
    "$kmr" plot "$number.kmr" -o "$number.svg" || [ $? -eq 1 ]
}

picture
picture --tag '0=</text><script>' --tag '1=Door' --tag '5=a long text that has no room beside the one that is next to it'
picture --lose 40:9 --zero frame20:32 --clock-jump 100:5000 --frame-field 150.TimeStamp=9
picture --header Width=1 --index-noise 1 --encrypt 3-9
picture --no-index --frame-field 33.FrameSize=83
picture --frames 1
picture --truncate frame0
picture --frames 30000 --lose 500:3
xmllint --noout --nonet --dtdvalid "$definition" ./*.svg
