#!/usr/bin/env bash
# Runs the test programs, two at a time; the last line is "N passed, N failed". Called by ./test.
set -uo pipefail
cd "$(dirname "$0")/.."
. scripts/common.sh

time_limit=600 # seconds for one program: a test that hangs is a failed one
long_limit=3600

# What runs under the memory checker in the short form too: what costs little and handles other people's bytes.
guarded=(base registry korvanedb graphics imgdecmp fuzz aygshell)
# What the system can be had to look at its whole heap for, at each of its calls, and still be through within minutes.
heap_checked=(base registry korvanedb fuzz faults atlas aygshell docs)
# The slow programs begin, so that both lanes end together.
slow=(soak objectstore kvol imgdecmp controls framework)

# What Wine says of a damaged heap: of a block's header or tail, of a freed block that was written to, of what is freed twice
# or is no block. "0024:err:heap:validate_free_block heap 00140000, block 0014C6C8: invalid block header"
heap_damage=':heap:[a-z_]+ heap [0-9A-F]{8}, (block|ptr|subheap) [0-9A-F]{8}'
# What it says when a block is given back to a heap that it is not of, and refuses: tests do that to see the refusal reported.
heap_refusal='mismatching heap$'

# ---- What is to be run -----------------------------------------------------------------------------------------------

jobs=() # "build how name": how is "plain", where the memory checker puts its pages, "heap" or "script"

# add BUILD HOW NAME...: of the programs those that were asked for on the command line.
add() {
    local build=$1 how=$2 name
    shift 2
    for name; do
        [[ ${#asked[@]} == 0 || " ${asked[*]} " == *" $name "* ]] || continue
        [[ $how == script || -f build/$build/bin/test_$name.exe ]] || continue
        jobs+=("$build $how $name")
    done
}

choose_jobs() {
    local name all=("${slow[@]}")
    for name in build/mingw32/bin/test_*.exe; do
        name=$(basename "$name" .exe) name=${name#test_}
        [[ " ${slow[*]} " == *" $name "* ]] || all+=("$name")
    done
    add mingw32 plain "${all[@]}"
    add mingw32-diagnostic plain "${all[@]}"
    # Package and documentation are those of the plain build.
    add mingw32 script commands package
    if [[ -z ${KORVANE_CHECKED:-} ]]; then
        add mingw32-diagnostic behind "${guarded[@]}"
        return
    fi
    add mingw32-diagnostic behind "${all[@]}"
    add mingw32-diagnostic before "${all[@]}"
    add mingw32-undefined plain "${all[@]}"
    add mingw32-checked plain "${all[@]}"
    add mingw32-diagnostic heap "${heap_checked[@]}"
}

# ---- Running it ------------------------------------------------------------------------------------------------------

# use_small_disk NAME: two megabytes for the tests that fill a disk, where this user may mount one. Elsewhere those tests
# do with the failures that they put in themselves.
use_small_disk() {
    local folder=$PWD/build/$1-disk
    mkdir -p "$folder"
    umount "$folder" 2>/dev/null
    mount -t tmpfs -o size=2m korvane-test "$folder" 2>/dev/null || return 0
    at_exit "umount build/$1-disk"
    export KORVANE_SMALL_DISK="Z:${folder//\//\\}"
}

# run_program BUILD HOW NAME LOG: the program's exit code.
run_program() (
    local program=build/$1/bin/test_$3.exe limit=$time_limit
    case $2 in
    behind | before) export KORVANE_GUARD=$2 ;;
    heap) export WINEDEBUG=warn+heap ;;
    esac
    # The long forms are for what is shipped: in the other builds, and under a checker, they would try nothing else.
    if [[ ${KORVANE_LONG:-} && "$1 $2" == "mingw32 plain" ]]; then
        limit=$long_limit
    else
        unset KORVANE_LONG
        [[ ! ${KORVANE_CHECKED:-} ]] || limit=$long_limit
    fi
    timeout --kill-after=10 "$limit" wine "$program" >"$4" 2>&1 </dev/null
)

# run_job BUILD HOW NAME: a line about it, what failed if something did, and the sums into the file of the job.
run_job() {
    local build=$1 how=$2 name=$3 label=$1 log=build/$1/test_$3.log started=$SECONDS ok= bad= ended= status
    if [[ $how == script ]]; then
        timeout --kill-after=10 "$long_limit" bash "${scripts[$name]}" >"$log" 2>&1
        read -r ok bad < <(sed -n 's/^\([0-9]*\) passed, \([0-9]*\) failed$/\1 \2/p' "$log") || { ok=0 bad=1; }
    else
        [[ $how == plain ]] || label=$build-$how log=build/$build/test_$name-$how.log
        run_program "$build" "$how" "$name" "$log"
        status=$?
        # The program's own count; one that did not come to its end has none, and has failed.
        ok=$(sed -n 's/^\[  PASSED  \] \([0-9]*\) tests\?\..*/\1/p' "$log" | tail -n 1)
        bad=$(sed -n 's/^\[  FAILED  \] \([0-9]*\) tests\?, listed below:.*/\1/p' "$log" | tail -n 1)
        ok=${ok:-0} bad=${bad:-0}
        if ((status != 0 && bad == 0)) || ((ok + bad == 0)); then
            bad=$((bad + 1)) ended="did not come to its end (exit code $status)"
        fi
        if [[ $how == heap ]] && grep -E "$heap_damage" "$log" | grep -qvE "$heap_refusal"; then
            bad=$((bad + 1)) ended='the system found its heap damaged'
        fi
    fi
    printf '%-25s %-12s %5d passed, %d failed, %d s %s\n' "$label" "$name" "$ok" "$bad" $((SECONDS - started)) "$ended"
    if ((bad)); then
        grep -E '^\[  FAILED  \]|Failure$|^FAILED' "$log" | sort -u | head -n 40
        tail -n 15 "$log"
    fi
    echo "$ok $bad" >"build/jobs/$build $how $name"
}

# run_lane PREFIX: takes one job after the other until there is none left, with a Wine prefix and a display of its own.
run_lane() {
    local job
    use_wine "$1"
    unset DISPLAY
    use_display
    keep_wine_server
    use_small_disk "$1"
    export KORVANE_OBJECTSTORE='C:\korvane-test-objectstore'
    for job in "${jobs[@]}"; do
        mkdir "build/jobs/$job.taken" 2>/dev/null || continue
        run_job $job # three words
    done
    rm -rf "$WINEPREFIX/drive_c/korvane-test-objectstore"
}

declare -A scripts=([package]=tests/package/run.sh [commands]=tests/docs/commands.sh)
asked=("$@")
choose_jobs
rm -rf build/jobs
mkdir -p build/jobs
(run_lane wine) &
(run_lane wine-diagnostic) &
wait

passed=0 failed=0
for job in "${jobs[@]}"; do
    # One that was broken off has left no sums, and counts as a failure.
    read -r ok bad 2>/dev/null <"build/jobs/$job" || { ok=0 bad=1; }
    passed=$((passed + ok)) failed=$((failed + bad))
done
printf '%d passed, %d failed\n' "$passed" "$failed"
((failed == 0 && passed > 0))
