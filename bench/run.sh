#!/bin/sh
# Times every report fill on a large sample (one project of 2,000 items, 100 bills and 200,000
# measurement lines) against the floor of its work measured in the same run, and prints the
# peak memory. Not run by CI.
#
#   bench/run.sh [BUILD_DIR]
#
# BUILD_DIR is a configured build folder of this repository (default: build); the script builds
# tallywright-cli and the core there, then the benchmark in BUILD_DIR-bench.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
repo=$(dirname "$here")
build=$(cd "${1:-$repo/build}" && pwd)

cmake --build "$build" --parallel 1 --target tallywright-cli twcore
cmake -S "$here" -B "$build-bench" -G Ninja -DTW_BUILD_DIR="$build" >/dev/null
cmake --build "$build-bench" --parallel 1

data=$(mktemp -d)
trap 'rm -rf "$data"' EXIT
start=$(date +%s.%N)
"$build/tallywright-cli" --folder "$data" demo --items 2000 --bills 100 --lines 200000
end=$(date +%s.%N)
awk "BEGIN { printf \"demo took %.1f s\\n\", $end - $start }"
echo
"$build-bench/fill_bench" "$data"
echo
"$build-bench/reprice_bench"

echo
"$build-bench/workbook_bench"

echo
"$build-bench/export_bench"
