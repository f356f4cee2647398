# What run, test and their scripts share. Sourced, from the project's root folder.

say() { printf 'korvaneLib: %s\n' "$*" >&2; }

fail() {
    printf 'korvaneLib: error: %s\n' "$*" >&2
    exit 1
}

# configure_and_build PRESET [TARGET...]: quiet when it succeeds, the compiler's words when it does not.
configure_and_build() {
    local preset=$1 log=build/$1.log
    shift
    mkdir -p build
    if [[ ! -f build/$preset/build.ninja ]]; then
        say "configuring build/$preset"
        cmake --preset "$preset" >"$log" 2>&1 || { tail -n 40 "$log" >&2; fail "configuring failed; all of it is in $log."; }
    fi
    # ninja -n says what a build would do, so that a build with nothing to do says nothing.
    if ! ninja -C "build/$preset" -n "$@" 2>/dev/null | grep -q 'no work to do'; then
        say "building build/$preset"
    fi
    cmake --build "build/$preset" ${1:+--target "$@"} >"$log" 2>&1 ||
        { grep -E 'error|warning|FAILED' "$log" | head -n 40 >&2; fail "building failed; all of it is in $log."; }
}

# use_wine [NAME]: a Wine prefix of the project's own, in the build folder: nothing of the user's is read or written.
use_wine() {
    local name=${1:-wine}
    # Arguments and file names are UTF-8: under the C locale Wine loses what is not ASCII.
    export LC_ALL=C.UTF-8
    export WINEPREFIX=$PWD/build/$name WINEARCH=win32 WINEDEBUG=${WINEDEBUG:--all} WINEDLLOVERRIDES='mscoree=;mshtml=;winemenubuilder.exe='
    if [[ ! -f $WINEPREFIX/korvane-2.ready ]]; then
        say "making a 32-bit Wine prefix in build/$name"
        rm -rf "$WINEPREFIX"
        (unset DISPLAY; wineboot -i && wineserver -w) >"build/$name.log" 2>&1 || fail "wineboot failed; its words are in build/$name.log."
        # Unmanaged windows: without a window manager, closing a managed one waits two seconds for an answer.
        (unset DISPLAY; wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f && wineserver -w) >>"build/$name.log" 2>&1 ||
            fail "could not write to the Wine registry; the words are in build/$name.log."
        # A program that crashes ends, with its stack in its output; a box would wait for somebody to press OK.
        (unset DISPLAY; wine reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f && wineserver -w) >>"build/$name.log" 2>&1 ||
            fail "could not write to the Wine registry; the words are in build/$name.log."
        touch "$WINEPREFIX/korvane-2.ready"
    fi
}

# A display for windows: the one that is there, or a virtual one for as long as the script runs.
use_display() {
    [[ -z ${DISPLAY:-} ]] || return 0
    local number
    exec {display_pipe}< <(exec Xvfb -displayfd 1 -screen 0 1024x768x24 -nolisten tcp 2>/dev/null)
    display_process=$!
    read -r -t 30 number <&"$display_pipe" || fail "the virtual display (Xvfb) did not start."
    export DISPLAY=:$number
    at_exit "kill $display_process"
}

# One Wine server for the whole run: without one each program starts its own, which takes seconds.
keep_wine_server() {
    wineserver -p 2>/dev/null || true
    at_exit "wineserver -k"
}

exit_commands=()
at_exit() {
    exit_commands+=("$1")
    trap 'for command in "${exit_commands[@]}"; do $command >/dev/null 2>&1 || true; done' EXIT
}
