#!/usr/bin/env bash
# Makes the pictures of the tests with ImageMagick, and what ImageMagick decodes them to.
#   make_pictures.sh CONVERT FOLDER
# Into FOLDER: the pictures; for each the rows from the top, blue green red, as NAME.bgr; and pictures.txt with a line
# "NAME WIDTH HEIGHT TOLERANCE" for each, the tolerance in levels of a channel.
set -euo pipefail
convert=$1
rm -rf "$2"
mkdir -p "$2"
cd "$2"

# Halved colours are decoded without smoothing, as the component does it but for the edges of blocks.
decoding=(-define jpeg:fancy-upsampling=off)

# picture NAME TOLERANCE ARGUMENT...: the arguments make it.
picture() {
    local name=$1 tolerance=$2
    shift 2
    "$convert" "$@" "$name"
    "$convert" "${decoding[@]}" "$name[0]" -background white -alpha remove -alpha off -colorspace sRGB -depth 8 "bgr:$name.bgr"
    echo "$name $("$convert" "$name[0]" -format '%w %h' info:) $tolerance" >>pictures.txt
}

"$convert" -seed 7 -size 97x61 plasma:tomato-steelblue -depth 8 PNG24:source.png
"$convert" source.png -alpha set -channel A -fx 'i/w' +channel PNG32:faded.png
rgb=(source.png)
few=(source.png +dither -colors)

picture rgb.png 0 "${rgb[@]}"
picture rgb_interlaced.png 0 "${rgb[@]}" -interlace PNG
picture rgb48.png 0 -seed 7 -size 53x31 plasma:black-white -depth 16 -define png:color-type=2
picture rgba.png 0 faded.png -define png:color-type=6
picture rgba64.png 0 -seed 3 -size 41x29 plasma:black-white -alpha set -channel A -fx 'j/h' +channel -depth 16 -define png:color-type=6
picture grey8.png 0 source.png -colorspace gray -depth 8 -define png:color-type=0
picture grey16.png 0 -seed 7 -size 53x31 plasma:black-white -colorspace gray -depth 16 -define png:color-type=0
picture grey_alpha.png 0 faded.png -colorspace gray -define png:color-type=4
picture bilevel.png 0 source.png -monochrome -define png:bit-depth=1
picture palette2.png 0 "${few[@]}" 3 -type palette
picture palette4.png 0 "${few[@]}" 14 -type palette
picture palette8.png 0 "${few[@]}" 200 -type palette
picture onepixel.png 0 -size 1x1 xc:tomato
picture wide.png 0 -size 2000x1 gradient:red-blue -depth 8

# Colours that change slowly: where they do not, the edges of blocks differ by more.
"$convert" -seed 7 -size 192x128 plasma:tomato-steelblue -blur 0x20 -depth 8 PNG24:gentle.png
for quality in 30 75 95; do
    for sampling in 4:4:4 4:2:2 4:2:0; do
        picture "q${quality}_${sampling//:/}.jpg" 3 gentle.png -quality $quality -sampling-factor $sampling
    done
done
picture progressive.jpg 3 gentle.png -quality 80 -interlace JPEG
picture grey.jpg 3 source.png -colorspace gray -quality 85
picture cmyk.jpg 3 source.png -colorspace CMYK -quality 95

picture plain.gif 0 "${few[@]}" 200
picture interlaced.gif 0 "${few[@]}" 200 -interlace GIF
picture bilevel.gif 0 source.png -monochrome
picture transparent.gif 0 -size 30x20 xc:navy -fill white -draw 'rectangle 5,5 20,15' -transparent navy
picture animated.gif 0 -size 30x20 xc:navy xc:gold xc:tomato

picture rgb24.bmp 0 "${rgb[@]}" -type TrueColor
picture rgb555.bmp 0 "${rgb[@]}" -type TrueColor -define bmp:subtype=RGB555
picture rgb565.bmp 0 "${rgb[@]}" -type TrueColor -define bmp:subtype=RGB565
picture rgba32.bmp 0 faded.png
picture palette8.bmp 0 "${few[@]}" 200 -type palette -compress none
picture palette4.bmp 0 "${few[@]}" 14 -type palette -compress none
picture rle8.bmp 0 "${few[@]}" 200 -type palette -compress RLE
picture bilevel.bmp 0 source.png -monochrome
picture old.bmp 0 "${rgb[@]}" -type TrueColor -define bmp:format=bmp2

picture plain.tif 0 "${rgb[@]}" -compress none
picture lzw.tif 0 "${rgb[@]}" -compress lzw
picture large.tif 0 -seed 5 -size 300x400 plasma:tomato-steelblue -depth 8 -compress lzw -define tiff:rows-per-strip=16
picture icon32.ico 0 source.png -resize '32x32!' -type TrueColor
picture icon8.ico 0 source.png -resize '48x48!' +dither -colors 250
