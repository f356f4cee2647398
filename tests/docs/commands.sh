#!/usr/bin/env bash
# The commands of the README and of the book, typed in from top to bottom as they stand, and what they print held against
# what the page shows. docs/HACKING.md has the rules.
#   tests/docs/commands.sh [PAGE...]    such as: tests/docs/commands.sh docs/kvol.md
# Called by scripts/run_tests.sh, with the Wine prefix set up; the last line is "N passed, N failed".
set -uo pipefail
cd "$(dirname "$0")/../.."
root=$PWD work=$PWD/build/docs-test
[[ $# != 0 ]] || set -- README.md docs/*.md

# As in the book: kvol of the installed package.
kvol() { wine "$root/build/mingw32/bin/kvol.exe" "$@"; }

# pattern TEXT: what stands there as a regular expression. "..." is any text in a line; a line of it, any lines.
pattern() {
    local line expression= dots='\.\.\.' end=$'\n'
    while IFS= read -r line; do
        if [[ $line == ... ]]; then
            expression+="([^$end]*$end)*"
        else
            line=$(sed 's/[][\.*^$+?(){}|]/\\&/g' <<<"$line")
            expression+="${line//"$dots"/[^$end]*}$end"
        fi
    done <<<"$1"
    printf '%s' "^$expression\$"
}

# try LINE COMMAND SHOWN: one test. The command has to succeed; one that is there to fail says so with "|| echo ...".
try() {
    local status printed
    eval "$2" >"$place/printed" 2>&1 </dev/null
    status=$?
    printed=$(tr -d '\r' <"$place/printed")
    if ((status == 0)) && [[ $printed$'\n' =~ $(pattern "${3%$'\n'}") ]]; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        printf 'FAILED: %s:%s: %s\n' "$page" "$1" "$2"
        printf 'exit code %s, and this is not what the page shows:\n%s\n' "$status" "$printed"
    fi
    echo "$passed $failed" >"$place/sum"
}

put() { printf '%s' "$2" >"$1"; }

passed=0 failed=0
for page in "$@"; do
    awk -f tests/docs/commands.awk "$page" >"$root/build/docs-commands" || exit 1
    grep -q '^try' "$root/build/docs-commands" || continue
    # The reader's project folder is one of links, with a build folder and a home folder of its own.
    place=$work/$(basename "$page" .md)
    rm -rf "$place"
    mkdir -p "$place/tree/build" "$place/home"
    for entry in "$root"/*; do
        [[ ${entry##*/} == build ]] || ln -s "$entry" "$place/tree/"
    done
    for entry in deps mingw32; do ln -s "$root/build/$entry" "$place/tree/build/"; done
    ln -s "${WINEPREFIX:?}" "$place/tree/build/wine" # the one that the commands look for, whoever runs this test
    cp "$root/build/docs-commands" "$place/commands"
    # Wine's own processes start here, and not, with words of theirs, in a command of the page.
    wineserver -p 2>/dev/null
    wine cmd /c exit >/dev/null 2>&1 </dev/null
    (
        cd "$place/tree" || exit 1
        HOME=$place/home passed=0 failed=0
        . "$place/commands"
    )
    read -r ok bad <"$place/sum" || { ok=0 bad=1; }
    passed=$((passed + ok)) failed=$((failed + bad))
    ((bad)) || rm -rf "$place"
done
rm -f "$root/build/docs-commands"
rmdir "$work" 2>/dev/null
printf '%d passed, %d failed\n' "$passed" "$failed"
