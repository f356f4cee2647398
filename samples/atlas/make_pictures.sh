#!/usr/bin/env bash
# Draws atlas.ico and about.png anew, with ImageMagick: a globe with its meridians, on a sky for the About box.
set -euo pipefail
cd "$(dirname "$0")"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# globe FILE PIXELS LINEWIDTH: drawn at 512 pixels and made smaller.
globe() {
    convert -size 512x512 radial-gradient:'#7cc4f4'-'#0b4a94' -distort SRT '256,256 1.3 0 180,150' "$work/light.png"
    convert "$work/light.png" \
        \( -size 512x512 xc:black -fill white -draw 'circle 256,256 256,12' \) -alpha off -compose CopyOpacity -composite \
        -fill none -stroke '#ffffffc0' -strokewidth "$3" \
        -draw 'ellipse 256,256 110,244 0,360' -draw 'line 256,12 256,500' -draw 'line 12,256 500,256' \
        -draw 'path "M 52,134 Q 256,214 460,134"' -draw 'path "M 52,378 Q 256,298 460,378"' \
        -stroke '#07356c' -draw 'circle 256,256 256,14' \
        -filter Lanczos -resize "$2x$2" -depth 8 "PNG32:$1"
}

globe "$work/16.png" 16 26
globe "$work/32.png" 32 18
globe "$work/104.png" 104 8
convert "$work/16.png" "$work/32.png" atlas.ico

# The lower part stays light: address and notice are written there. The version comes at the right, 117 pixels down.
convert -size 240x150 gradient:'#0b4a94'-'#9fd0f5' \( -size 240x134 xc:white \) -append \
    \( "$work/104.png" \) -geometry +14+22 -composite \
    -font DejaVu-Sans-Bold -fill white -pointsize 30 -gravity NorthWest -annotate +128+46 Atlas \
    -font DejaVu-Sans -pointsize 10 -annotate +120+88 'countries of the world' -strip -depth 8 PNG24:about.png
