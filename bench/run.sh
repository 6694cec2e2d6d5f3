#!/bin/sh
# Times every report fill on large samples (one project of 2,000 items and 100 bills, with 20,000,
# 200,000 and 1,000,000 measurement lines; and the abstract bill over 300 bills of 10,000 items)
# against plain SQL writing the same rows, measured in the same run, and prints the peak memory;
# then the measurement screen's list of a bill of 10,000 lines.
# Exits 1 when a goal is missed. Not run by CI.
#
#   bench/run.sh [BUILD_DIR]
#
# BUILD_DIR is a configured build folder of this repository (default: build); the script builds
# tallywright-cli and the core there, then the benchmark in BUILD_DIR-bench.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
repo=$(dirname "$here")
build=$(cd "${1:-$repo/build}" && pwd)

cmake --build "$build" --parallel 1 --target tallywright-cli twcore twkit twrender twreports
cmake -S "$here" -B "$build-bench" -G Ninja -DTW_BUILD_DIR="$build" >/dev/null
cmake --build "$build-bench" --parallel 1

data=$(mktemp -d)
trap 'rm -rf "$data"' EXIT
# sample FOLDER ITEMS BILLS LINES: a large demo in FOLDER, timed.
sample() {
    mkdir -p "$1"
    start=$(date +%s.%N)
    "$build/tallywright-cli" --folder "$1" demo --items "$2" --bills "$3" --lines "$4"
    end=$(date +%s.%N)
    awk "BEGIN { printf \"demo took %.1f s\\n\", $end - $start }"
    echo
}
status=0
for lines in 20000 200000 1000000; do
    sample "$data/$lines" 2000 100 "$lines"
    "$build-bench/fill_bench" "$data/$lines" || status=1
    if [ "$lines" = 1000000 ]; then
        # 100 bills of 10,000 lines each.
        echo
        QT_QPA_PLATFORM=offscreen "$build-bench/measurements_bench" "$data/$lines" || status=1
    fi
    rm -rf "${data:?}/$lines"
    echo
done
# The abstract bill sums every earlier bill of the project: 299 of them over 10,000 items.
sample "$data/many" 10000 300 200000
"$build-bench/fill_bench" "$data/many" abstract-bill || status=1
rm -rf "${data:?}/many"
echo
"$build-bench/reprice_bench"

echo
"$build-bench/workbook_bench"

echo
"$build-bench/export_bench"
exit $status
