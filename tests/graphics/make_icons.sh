#!/usr/bin/env bash
# Makes the icon files of the tests with ImageMagick, and what ImageMagick decodes them to.
#   make_icons.sh CONVERT FOLDER
# Into FOLDER: DEPTH_SIZE.ico; for each the rows from the top, blue green red, as NAME.bgr; and icons.txt with a line
# "NAME SIZE DEPTH" for each.
set -euo pipefail
convert=$1
rm -rf "$2"
mkdir -p "$2"
cd "$2"

icon() {
    local depth=$1 size=$2
    shift 2
    "$convert" "$@" "${depth}_$size.ico"
    "$convert" "${depth}_$size.ico" -alpha off -colorspace sRGB -depth 8 "bgr:${depth}_$size.bgr"
    echo "${depth}_$size $size $depth" >>icons.txt
}

for size in 16 24 32 48 64 128; do
    "$convert" -seed 11 -size ${size}x$size plasma:tomato-steelblue -depth 8 PNG24:source.png
    icon 1 $size source.png -colorspace gray -threshold 50% -colorspace sRGB +level-colors navy,gold +dither -colors 2 -type palette
    icon 4 $size source.png +dither -colors 12 -type palette
    icon 8 $size source.png +dither -colors 100 -type palette
    icon 32 $size source.png -alpha set -channel A -fx 'i>2 ? 1 : 0' +channel
done
