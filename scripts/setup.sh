#!/usr/bin/env bash
# Installs what the build and the tests need on a Debian machine, and fetches the source packages.
# Does nothing, and says nothing, about what is already there.
#   scripts/setup.sh [PACKAGE...]    these packages as well: what the benches measure against
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/common.sh

# What each package is for stands in the README under "Dependencies".
packages=(wine wine32:i386 gcc-mingw-w64-i686-posix g++-mingw-w64-i686-posix cmake ninja-build
          xvfb xauth imagemagick googletest libcli11-dev nlohmann-json3-dev iso-codes dpkg-dev ca-certificates
          gcc libc6-dev make tcl famfamfam-flag-png "$@")

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f '${db:Status-Abbrev}' "$package" 2>/dev/null || true)
    [[ $status == ii* ]] || missing+=("$package")
done

as_root() {
    if [[ $(id -u) == 0 ]]; then "$@"
    elif command -v sudo >/dev/null; then sudo "$@"
    else fail "cannot run \"$*\": that needs root. Run this script as root, or install sudo."; fi
}

# An index of one suite can be out of step on a mirror; the rest is read all the same, so a failed update alone is no
# reason to stop: what matters is whether the packages can be installed afterwards.
update_indexes() {
    as_root apt-get update >"$log" 2>&1 || true
}

mkdir -p build
log=build/setup.log
export DEBIAN_FRONTEND=noninteractive

if ((${#missing[@]})); then
    say "installing ${missing[*]}"
    command -v apt-get >/dev/null || fail "this machine has no apt-get: the set-up is written for Debian 12."
    dpkg --print-foreign-architectures | grep -qx i386 || as_root dpkg --add-architecture i386
    update_indexes
    # Libraries of both architectures must have one version. Where the machine has newer security updates than the
    # i386 index knows, only the release itself has both.
    install=(apt-get install -y --no-install-recommends --allow-downgrades)
    if ! as_root "${install[@]}" "${missing[@]}" >>"$log" 2>&1; then
        release=$(. /etc/os-release && echo "${VERSION_CODENAME:-stable}")
        as_root "${install[@]}" -t "$release" "${missing[@]}" >>"$log" 2>&1 ||
            fail "could not install ${missing[*]}. The package manager's own words are at the end of $log."
    fi
fi

# fetch_source PACKAGE: into build/deps/PACKAGE. Source packages are switched on, where they are not, beside the sources
# that the machine already has.
fetch_source() {
    local package=$1 folder=build/deps/$1
    ! compgen -G "$folder/${package}_*.orig.tar.*" >/dev/null || return 0
    say "fetching the source package of $package"
    mkdir -p "$folder"
    download() { (cd "$folder" && apt-get source --download-only "$package") >>"$log" 2>&1; }
    if ! download; then
        switch_on_source_packages
        download || fail "could not fetch the source package of $package. The package manager's own words are at the end of $log."
    fi
}

switch_on_source_packages() {
    local list
    for list in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
        [[ -f $list && $list != *korvanelib* ]] || continue
        grep -E '^deb .*debian' "$list" | sed 's/^deb /deb-src /' || true
    done >build/korvanelib-src.list
    for list in /etc/apt/sources.list.d/*.sources; do
        [[ -f $list && $list != *korvanelib* ]] || continue
        if grep -q 'debian-archive-keyring\|^URIs:.*debian' "$list"; then
            sed -E 's/^Types:.*/Types: deb-src/' "$list"
            echo
        fi
    done >build/korvanelib-src.sources
    # One archive in both forms, with a key in one of them only, is refused as a contradiction.
    [[ ! -s build/korvanelib-src.sources ]] || : >build/korvanelib-src.list
    [[ ! -s build/korvanelib-src.list ]] || as_root install -m 644 build/korvanelib-src.list /etc/apt/sources.list.d/
    [[ ! -s build/korvanelib-src.sources ]] || as_root install -m 644 build/korvanelib-src.sources /etc/apt/sources.list.d/
    update_indexes
}

# fetch_file PACKAGE PATH: one file of a package, without installing the rest, into build/deps/PACKAGE.
fetch_file() {
    local package=$1 path=$2 folder=build/deps/$1
    [[ ! -f $folder/${path##*/} ]] || return 0
    say "fetching ${path##*/} of $package"
    mkdir -p "$folder"
    download() { (cd "$folder" && rm -f ./*.deb && apt-get download "$package") >>"$log" 2>&1; }
    if ! download; then
        update_indexes
        download || fail "could not fetch the package $package. The package manager's own words are at the end of $log."
    fi
    dpkg-deb --fsys-tarfile "$folder"/*.deb | tar -xO "./$path" >"$folder/unpacking" ||
        fail "the package $package has no file /$path."
    mv "$folder/unpacking" "$folder/${path##*/}"
    rm "$folder"/*.deb
}

# The record store's engine, and SQLite for kvol, come as Debian's source packages: Debian has the libraries themselves
# only for Linux.
fetch_source lmdb
fetch_source sqlite3

# Which country has which currencies and languages. All of the package would be 230 MB.
fetch_file unicode-cldr-core usr/share/unicode/cldr/common/supplemental/supplementalData.xml
