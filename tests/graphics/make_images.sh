#!/usr/bin/env bash
# Makes the pictures of the image tests with ImageMagick, and what ImageMagick decodes them to.
#   make_images.sh CONVERT FOLDER
# Into FOLDER: the pictures, and for each its rows from the top, blue green red, as NAME.bgr.
set -euo pipefail
convert=$1
rm -rf "$2"
mkdir -p "$2"
cd "$2"

# picture NAME ARGUMENT...: the arguments make it.
picture() {
    local name=$1
    shift
    "$convert" "$@" "$name"
    "$convert" "$name[0]" -background white -alpha remove -alpha off -colorspace sRGB -depth 8 "bgr:$name.bgr"
}

picture photo.png -seed 7 -size 97x61 plasma:tomato-steelblue -depth 8 -define png:color-type=2
picture photo.jpg photo.png -quality 95 -sampling-factor 4:4:4
picture photo.gif photo.png +dither -colors 200 -interlace GIF
picture photo.bmp photo.png -type TrueColor
picture small.png -size 4x3 xc:white -fill red -draw 'point 0,0' -fill blue -draw 'point 3,2' -depth 8 -define png:color-type=2
picture clear.png -size 4x3 xc:none -fill red -draw 'point 1,1' -define png:color-type=6
touch made.txt
