#!/usr/bin/env bash
# atlas.sh PROGRAM PICTURE: opens Atlas on the display, with a volume of its own in build/atlas; without a display, writes
# a picture of its window. Called by ./run.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/common.sh

program=$1 picture=$2
size=240x320 # the device's screen
volume=build/atlas/iso.vol
use_wine
mkdir -p build/atlas
# The favourites in it are kept when the lists are imported anew.
if [[ ! -f $volume || scripts/import_iso.sh -nt $volume ]]; then
    say "importing the ISO lists into $volume"
    scripts/import_iso.sh "$volume" >build/atlas/import.log 2>&1 ||
        { rm -f "$volume"; tail -n 5 build/atlas/import.log >&2; fail "the import failed; its words are in build/atlas/import.log."; }
fi
[[ -z ${DISPLAY:-} ]] || exec wine explorer "/desktop=atlas,480x400" "$program" "$volume" # with room to move it

use_display
keep_wine_server
rm -f "$volume.log"
wine explorer "/desktop=atlas,$size" "$program" "$volume" &
# The log tells when a country is shown. The window is drawn when the screen does not change any more.
for ((tries = 0; tries < 300; tries++)); do
    ! grep -qs "'code'" "$volume.log" || break
    sleep 0.1
done
grep -qs "'code'" "$volume.log" || fail "Atlas did not open; what it said is in $volume.log."
for ((tries = 0; tries < 50; tries++)); do
    before=$(md5sum "$picture" 2>/dev/null || true)
    sleep 0.3
    import -silent -window root -crop "$size+0+0" +repage "$picture"
    [[ $(md5sum "$picture") != "$before" ]] || break
done
# By force: a request to close does not reach windows on another desktop.
wine taskkill /f /im atlas.exe >/dev/null 2>&1 || true
wait $! || true
say "wrote $picture"
