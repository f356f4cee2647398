#!/usr/bin/env bash
# Makes the reference of the public headers: build/reference/html/index.html. A warning is an error.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/common.sh
scripts/setup.sh doxygen
mkdir -p build/reference
say "making the reference of the public headers"
doxygen docs/Doxyfile 2>build/reference/warnings.log || { head -n 40 build/reference/warnings.log >&2; fail "the reference has mistakes; all of them are in build/reference/warnings.log."; }
say "the reference is in build/reference/html/index.html"
