#!/usr/bin/env bash
# fuzz.sh TARGET [SECONDS]: looks for inputs that break a reader, natively, with libFuzzer and AddressSanitizer; 60 seconds
# unless told otherwise. "fuzz.sh all [SECONDS]" takes one target after the other.
#   targets: numbers streams paths times icons pictures templates records tables volumes
# It starts from tests/fuzz/corpus/TARGET and keeps what it finds in build/fuzz/TARGET. An input that breaks something is
# written to build/fuzz/TARGET.broken-*: mend the fault and put the input into the corpus, which ./test replays.
#   fuzz.sh --keep TARGET    adds to the corpus what reaches code that it did not reach, at most 1,024 bytes each
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/common.sh

keep=
[[ ${1:-} != --keep ]] || { keep=1; shift; }
target=${1:-} seconds=${2:-60}
framework="string stringbuffer stringedit stringformat"
declare -A sources=(
    [numbers]="base/numparse.cpp"
    [streams]="base/stream.cpp base/bytestream.cpp base/valueencoding.cpp base/sizedarray.cpp base/refcount.cpp"
    [paths]="base/path.cpp base/split.cpp platform/framework/stringarray.cpp"
    [times]="platform/framework/timeformat.cpp"
    [icons]="graphics/icon.cpp"
    [pictures]="platform/imgdecmp/pictureheader.cpp platform/imgdecmp/inputstream.cpp"
    [templates]="platform/framework/dialogtemplate.cpp"
    [records]="platform/objectstore/record.cpp"
    [tables]="tools/kvol/csv.cpp tools/kvol/json_source.cpp tools/kvol/source.cpp tools/kvol/text.cpp tools/kvol/value.cpp tools/kvol/infer.cpp"
    [volumes]="$(printf '%s ' platform/objectstore/*.{cpp,c}) tests/fuzz/volume_bases.cpp tests/fuzz/volume_edits.cpp"
)
if [[ $target == all ]]; then
    for target in numbers streams paths times icons pictures templates records tables volumes; do
        scripts/fuzz.sh "$target" "$seconds"
    done
    exit
fi
[[ -n ${sources[$target]:-} ]] || { sed -n '2,8s/^# \{0,1\}//p' "$0"; exit 2; }

# Only here: ./run and ./test need none of these. 32 bits, as the device: a long has four bytes.
scripts/setup.sh clang libclang-rt-14-dev libc6-dev-i386 lib32stdc++-12-dev

work=build/fuzz
mkdir -p $work/objects "$work/$target"
# The C++ library's ready-made wide strings have characters of 32 bits; with assertions, strings are made anew.
flags=(-m32 -fshort-wchar -O1 -g -msse2 -mfpmath=sse -fno-delete-null-pointer-checks
    -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize=vptr,function -fno-sanitize-recover=undefined
    -DUNICODE -D_UNICODE "-D__declspec(x)=" -DNDEBUG -D_GLIBCXX_ASSERTIONS -Wall -Wextra -Wno-unknown-warning-option -Wno-overloaded-virtual -Wno-inconsistent-missing-override
    -Itests/fuzz/shim -Itests/fuzz -I. -Iplatform/include -Iplatform/framework -Iplatform/imgdecmp -Iplatform/objectstore
    -Itools/kvol -isystem $work/lmdb -idirafter "/usr/include/$(uname -m)-linux-gnu")
objects=()
# A source is compiled anew when anything that it includes is newer.
build_object() {
    local source=$1 object=$work/objects/${1//\//_}.o input newer=
    objects+=("$object")
    if [[ -f $object.d ]]; then
        for input in $(sed 's/^[^:]*://; s/\\$//' "$object.d"); do [[ $object -nt $input ]] || newer=1; done
    else
        newer=1
    fi
    [[ -n $newer ]] || return 0
    local building=()
    # What is compared in the store is seldom a part of the input: looking at it would take half of the time.
    [[ $source != platform/objectstore/* ]] || building=(-O2 -DKORVANESTORE_BUILDING -fno-sanitize-coverage=trace-cmp)
    [[ $source != tests/fuzz/* ]] || building=(-fno-sanitize=fuzzer-no-link)
    if [[ $source == *.c ]]; then
        # The map's own source takes fields from where they lie, on even addresses, and is to take the platform's side.
        clang -std=gnu11 "${flags[@]}" "${building[@]}" -fno-sanitize=alignment -D_WIN32 -MMD -MF "$object.d" -c "$source" -o "$object"
    else
        clang++ -std=c++17 "${flags[@]}" "${building[@]}" -MMD -MF "$object.d" -c "$source" -o "$object"
    fi
}
say "building the target $target"
# As for the library itself: the map's source, with the store's own lines in it.
printf 'set(CMAKE_BINARY_DIR %s)\ninclude(cmake/LmdbSource.cmake)\n' "$PWD/$work" >$work/lmdb.cmake
cmake -P $work/lmdb.cmake
shim="platform onefile"
[[ $target != volumes ]] || shim="platform files system"
for source in ${sources[$target]} tests/fuzz/$target.cpp $(printf 'tests/fuzz/shim/%s.cpp ' $shim); do build_object "$source"; done
for source in $framework; do build_object platform/framework/$source.cpp; done
clang++ -std=c++17 "${flags[@]}" -DKORVANE_FUZZ_TARGET="$target" -c tests/fuzz/native.cpp -o "$work/objects/native_$target.o"
clang++ -m32 -fsanitize=fuzzer,address,undefined "${objects[@]}" "$work/objects/native_$target.o" -o "$work/fuzz_$target"

# Sizes that lie are asked for: that there is no memory for them is no fault.
export ASAN_OPTIONS=allocator_may_return_null=1:max_allocation_size_mb=32:quarantine_size_mb=8:detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1
corpus=tests/fuzz/corpus/$target
if [[ -n $keep ]]; then
    "$work/fuzz_$target" -merge=1 -max_len=1024 "$corpus" "$work/$target"
    exit
fi
say "fuzzing $target for $seconds seconds"
log=$work/$target.log
"$work/fuzz_$target" -max_total_time="$seconds" -max_len=4096 -timeout=10 -rss_limit_mb=3000 -print_final_stats=1 \
    -artifact_prefix="$work/$target.broken-" "$work/$target" "$corpus" >"$log" 2>&1 ||
    { tail -n 60 "$log" >&2; fail "the target $target broke; the input is $work/$target.broken-*, all words are in $log."; }
printf '%s: %s inputs, none broke anything\n' "$target" "$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")"
