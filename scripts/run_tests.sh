#!/usr/bin/env bash
# Runs the test programs of both builds side by side; the last line is "N passed, N failed". Called by ./test.
set -uo pipefail
cd "$(dirname "$0")/.."
. scripts/common.sh

time_limit=600 # seconds for one program: a test that hangs is a failed one
[[ -z ${KORVANE_LONG:-} ]] || time_limit=3600

# What runs under the memory checker in the short form too: what costs little and handles other people's bytes.
guarded=(base registry korvanedb graphics imgdecmp fuzz aygshell)

# What Wine says of a damaged heap: of a block's header or tail, of a freed block that was written to, of what is freed twice
# or is no block. "0024:err:heap:validate_free_block heap 00140000, block 0014C6C8: invalid block header"
heap_damage=':heap:[a-z_]+ heap [0-9A-F]{8}, (block|ptr|subheap) [0-9A-F]{8}'

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

# run_build BUILD PREFIX [NAME...]: the programs of one build, one after the other, with a Wine prefix and a display of
# their own. A line for each; the sums go to build/BUILD/tests.sum. With KORVANE_GUARD or KORVANE_HEAP_CHECKS in the
# environment logs and sums have that in their names.
run_build() {
    local build=$1 prefix=$2 passed=0 failed=0 program name log started status ok bad ended
    local how=${KORVANE_GUARD:+-$KORVANE_GUARD}${KORVANE_HEAP_CHECKS:+-heap}
    shift 2
    use_wine "$prefix"
    [[ -z ${KORVANE_HEAP_CHECKS:-} ]] || export WINEDEBUG=warn+heap
    # The long forms are for the builds that are shipped: under a checker they would take the night, and try nothing else.
    [[ $how$build == mingw32 || $how$build == mingw32-diagnostic ]] || unset KORVANE_LONG
    unset DISPLAY
    use_display
    keep_wine_server
    use_small_disk "$prefix"
    export KORVANE_OBJECTSTORE='C:\korvane-test-objectstore'
    for program in build/"$build"/bin/test_*.exe; do
        name=$(basename "$program" .exe) name=${name#test_}
        [[ $# == 0 || " $* " == *" $name "* ]] || continue
        # The memory checker's own tests have nothing to do with the system's heap, and hold too many blocks for its checks.
        [[ ! ${KORVANE_HEAP_CHECKS:-} || $name != guard ]] || continue
        log=build/$build/test_$name$how.log
        started=$SECONDS
        timeout --kill-after=10 "$time_limit" wine "$program" >"$log" 2>&1 </dev/null
        status=$?
        # The program's own count; one that did not come to its end has none, and has failed.
        ok=$(sed -n 's/^\[  PASSED  \] \([0-9]*\) tests\?\..*/\1/p' "$log" | tail -n 1)
        bad=$(sed -n 's/^\[  FAILED  \] \([0-9]*\) tests\?, listed below:.*/\1/p' "$log" | tail -n 1)
        ok=${ok:-0} bad=${bad:-0} ended=
        if ((status != 0 && bad == 0)) || ((ok + bad == 0)); then
            bad=$((bad + 1))
            ended="did not come to its end (exit code $status)"
        fi
        passed=$((passed + ok)) failed=$((failed + bad))
        if [[ ${KORVANE_HEAP_CHECKS:-} ]] && grep -qE "$heap_damage" "$log"; then
            bad=$((bad + 1)) failed=$((failed + 1)) ended='the system found its heap damaged'
        fi
        printf '%-20s %-12s %5d passed, %d failed, %d s %s\n' "$build$how" "$name" "$ok" "$bad" $((SECONDS - started)) "$ended"
        if ((bad)); then
            grep -E '^\[  FAILED  \]|Failure$' "$log" | sort -u | head -n 40
            tail -n 15 "$log"
        fi
    done
    # Package and documentation are those of the plain build.
    if [[ $build$how == mingw32 ]]; then
        run_script package tests/package/run.sh "$@"
        run_script commands tests/docs/commands.sh "$@"
    fi
    rm -rf "$WINEPREFIX/drive_c/korvane-test-objectstore"
    echo "$passed $failed" >"build/$build/tests$how.sum"
}

# run_script NAME SCRIPT [NAME...]: tests that are a script, with the sums of run_build.
run_script() {
    local name=$1 script=$2 ok bad started=$SECONDS log=build/$build/test_$1.log
    shift 2
    [[ $# == 0 || " $* " == *" $name "* ]] || return 0
    timeout --kill-after=10 "$time_limit" bash "$script" >"$log" 2>&1
    read -r ok bad < <(sed -n 's/^\([0-9]*\) passed, \([0-9]*\) failed$/\1 \2/p' "$log") || { ok=0 bad=1; }
    passed=$((passed + ok)) failed=$((failed + bad))
    printf '%-20s %-12s %5d passed, %d failed, %d s\n' "$build" "$name" "$ok" "$bad" $((SECONDS - started))
    ((bad == 0)) || cat "$log"
}

# run_guarded PLACE [NAME...]: programs under the memory checker. In the short form those of the short list, of which the
# named ones if any are.
run_guarded() {
    local place=$1 name names=()
    shift
    for name in "${guarded[@]}"; do
        [[ $# != 0 && " $* " != *" $name "* ]] || names+=("$name")
    done
    if [[ ${KORVANE_GUARD_ALL:-} ]]; then
        names=("$@")
    elif [[ ${#names[@]} == 0 ]]; then
        return 0
    fi
    KORVANE_GUARD=$place run_build mingw32-diagnostic wine-diagnostic "${names[@]}"
}

rm -f build/*/tests*.sum
(run_build mingw32 wine "$@") &
(
    run_build mingw32-diagnostic wine-diagnostic "$@"
    KORVANE_GUARD_ALL=${KORVANE_CHECKED:-} run_guarded behind "$@"
) &
wait
runs=(mingw32/tests mingw32-diagnostic/tests)
[[ ! -f build/mingw32-diagnostic/tests-behind.sum ]] || runs+=(mingw32-diagnostic/tests-behind)
if [[ ${KORVANE_CHECKED:-} ]]; then
    (
        run_build mingw32-undefined wine "$@"
        run_build mingw32-checked wine "$@"
    ) &
    (
        KORVANE_GUARD_ALL=1 run_guarded before "$@"
        KORVANE_HEAP_CHECKS=1 run_build mingw32-diagnostic wine-diagnostic "$@"
    ) &
    wait
    runs+=(mingw32-diagnostic/tests-before mingw32-diagnostic/tests-heap mingw32-undefined/tests mingw32-checked/tests)
fi

passed=0 failed=0
for run in "${runs[@]}"; do
    # A run that was broken off has left no sums, and counts as a failure.
    read -r ok bad <"build/$run.sum" 2>/dev/null || { ok=0 bad=1; }
    passed=$((passed + ok)) failed=$((failed + bad))
done
printf '%d passed, %d failed\n' "$passed" "$failed"
((failed == 0 && passed > 0))
