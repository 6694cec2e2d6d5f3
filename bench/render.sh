#!/bin/sh
# Times a final bill of 5,000 measurement lines (a sample project of 200 items and 10 bills)
# rendered to PDF, and prints its pages, time and peak memory. The report is to take under 5 s
# and 150 MB. Not run by CI.
#
#   bench/render.sh [BUILD_DIR]
#
# BUILD_DIR is a configured build folder of this repository (default: build); the script builds
# tallywright-cli and the layouts beside it there.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
repo=$(dirname "$here")
build=$(cd "${1:-$repo/build}" && pwd)

cmake --build "$build" --parallel 1 --target tallywright-cli appfiles

data=$(mktemp -d)
trap 'rm -rf "$data"' EXIT
"$build/tallywright-cli" --folder "$data" demo --items 200 --bills 10 --lines 5000 >/dev/null
set -- "$build/tallywright-cli" --folder "$data" report final-bill \
    --project "Riverside Township, Phase II" --out "$data/final-bill.pdf"
if [ -x /usr/bin/time ]; then
    /usr/bin/time -f "final bill: %e s (%U s user), peak %M KB" "$@"
else
    start=$(date +%s.%N)
    "$@"
    end=$(date +%s.%N)
    awk "BEGIN { printf \"final bill: %.1f s\\n\", $end - $start }"
fi
