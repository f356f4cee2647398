#!/usr/bin/env bash
# import_iso.sh VOLUME: imports Debian's ISO lists (package iso-codes) into a volume, a table each, and what the Unicode
# consortium's data (CLDR) says of each country's currencies and official languages. What the volume has of them already
# is made anew. An empty table "favourites" is added for Atlas if there is none. KVOL names the kvol.exe to use; the default is the one of the ordinary build.
set -euo pipefail
[[ $# == 1 ]] || { echo "usage: scripts/import_iso.sh VOLUME" >&2; exit 2; }
volume=$(realpath -m "$1")
cd "$(dirname "$0")/.."
. scripts/common.sh

kvol=${KVOL:-build/mingw32/bin/kvol.exe}
lists=/usr/share/iso-codes/json
[[ -f $kvol ]] || fail "$kvol is missing: build it first (./run does)."
[[ -f $lists/iso_3166-1.json ]] || fail "the ISO lists are missing: install the package iso-codes."
cldr=build/deps/unicode-cldr-core/supplementalData.xml
[[ -f $cldr ]] || fail "$cldr is missing: run scripts/setup.sh."
use_wine
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

import() { # TABLE LIST INDEX...
    local table=$1 list=$2 index options=()
    shift 2
    for index in "$@"; do options+=(--index "$index"); done
    wine "$kvol" import "$volume" "$table" "$lists/$list.json" --replace "${options[@]}"
}

import countries iso_3166-1 ByCode=alpha_2 ByCode3=alpha_3 ByNumber=numeric ByName=name,nocase
import subdivisions iso_3166-2 ByCode=code ByName=name,nocase ByType=type ByParent=parent
import currencies iso_4217 ByCode=alpha_3 ByNumber=numeric ByName=name,nocase
import languages iso_639-3 ByCode=alpha_3 ByCode2=alpha_2 ByName=name,nocase ByType=type
import languages_639_2 iso_639-2 ByCode=alpha_3 ByCode2=alpha_2 ByName=name,nocase

# TABLE: country_currencies or country_languages
import_relation() {
    local table=$1
    awk -v "table=$table" -f scripts/cldr_to_csv.awk "$cldr" >"$work/$table.csv"
    wine "$kvol" import "$volume" "$table" "$work/$table.csv" --replace --index ByCountry=country
}

import_relation country_currencies
import_relation country_languages

if ! wine "$kvol" tables "$volume" | grep -q '^favourites\s'; then
    echo country,sum >"$work/favourites.csv"
    wine "$kvol" import "$volume" favourites "$work/favourites.csv" --field sum:R8 --index ByCountry=country
fi
