#!/usr/bin/env bash
# gallery.sh PROGRAM PICTURE: opens the gallery on the display; without one, writes a picture of it. Called by ./run.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/common.sh

program=$1 picture=$2
size=960x640 # four screens of 240 x 320 pixels beside each other, in two rows
use_wine
[[ -z ${DISPLAY:-} ]] || exec wine explorer "/desktop=gallery,$size" "$program"

use_display
keep_wine_server
# The gallery makes this file when all is drawn, and ends when it is gone.
shown=$picture.shown
rm -f "$shown"
wine explorer "/desktop=gallery,$size" "$program" --until "$shown" &
for ((tries = 0; tries < 300; tries++)); do
    [[ ! -f $shown ]] || break
    sleep 0.1
done
[[ -f $shown ]] || fail "the gallery did not open."
import -silent -window root -crop "$size+0+0" +repage "$picture"
rm "$shown"
wait $! || true
say "wrote $picture"
