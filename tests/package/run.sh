#!/usr/bin/env bash
# The installed package as its users meet it: a host outside the tree is built against it, and the ZIP runs unpacked.
# Called by scripts/run_tests.sh, with the Wine prefix set up; the last line is "N passed, N failed".
set -uo pipefail
cd "$(dirname "$0")/../.."
root=$PWD build=$root/build/mingw32 work=$root/build/package-test
passed=0 failed=0

# check NAME COMMAND...: one test.
check() {
    local name=$1
    shift
    if "$@" >"$work/log" 2>&1 </dev/null; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        echo "FAILED: $name"
        tail -n 15 "$work/log"
    fi
}

rm -rf "$work"
mkdir -p "$work/outside"
cp -r tests/package/host "$work/outside/"
prefix=$work/installed
zip_name=$(sed -n 's/^set(CPACK_PACKAGE_FILE_NAME "\(.*\)")$/\1/p' "$build/CPackConfig.cmake")
version=$(sed -n 's/^set(CPACK_PACKAGE_VERSION "\(.*\)")$/\1/p' "$build/CPackConfig.cmake")

install_tree() { cmake --install "$build" --prefix "$prefix"; }
configure_host() {
    cd "$work/outside/host" &&
        cmake -B ../build -G Ninja -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw32.cmake" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Release
}
build_host() { cmake --build "$work/outside/build"; }
# The programs lie with the package's DLLs alone: nothing of the build folder is in reach.
place_host() { cp "$work"/outside/build/*.exe "$prefix/bin/"; }
run_kvol() { [[ $(cd "$1" && wine bin/kvol.exe --version | tr -d '\r') == *"$version"* ]]; }
run_host() {
    cd "$prefix/bin" && printf 'name\nReykjavik\nAkureyri\n' >towns.csv && wine kvol.exe import towns.vol towns towns.csv &&
        [[ $(wine host.exe | tr -d '\r') == $'Reykjavik\nAkureyri' ]]
}
run_application() { cd "$prefix/bin" && { wine application.exe; [[ $? == 7 ]]; }; }
licences_are_there() {
    local name
    for name in korvaneLib LMDB LMDB-copyright SQLite CLI11 nlohmann-json gcc-runtime mingw-w64; do
        [[ -s $prefix/licences/$name.txt ]] || { echo "no licence of $name"; return 1; }
    done
}
versions_agree() {
    local file
    for file in "$prefix"/bin/{kvol.exe,korvaneLib.dll,korvaneafx.dll,korvanestore.dll,imgdecmp.dll,aygshell.dll}; do
        # The resource's texts are UTF-16.
        grep -aq "FileVersion.\{0,2\}$version" <(tr -d '\0' <"$file") || { echo "${file##*/} does not say $version"; return 1; }
    done
}
make_zip() { cd "$build" && cpack -G ZIP -B "$work/zip" && cd "$work/zip" && cmake -E tar xf "$zip_name.zip"; }
zip_runs_alone() { run_kvol "$work/zip/$zip_name"; }

check "cmake --install makes the tree" install_tree
check "kvol of the tree says the project's version" run_kvol "$prefix"
check "every file's version resource is the project's version" versions_agree
check "the licence of everything shipped is there" licences_are_there
check "find_package finds the package from outside" configure_host
check "a host builds against it" build_host
check "the host's programs lie beside the DLLs" place_host
check "the host reads a volume" run_host
check "a framework application starts and ends" run_application
check "cpack makes a ZIP" make_zip
check "kvol runs out of the ZIP" zip_runs_alone
rm -rf "$work"
printf '%d passed, %d failed\n' "$passed" "$failed"
