#!/bin/sh
# Times the final bill of a sample project of 200 items and 10 bills rendered to PDF, at 5,000
# and at 200,000 measurement lines, and prints each one's pages, time and peak memory. The
# 5,000-line bill is to take under 2 s; the 200,000-line one under 60 s and 300 MB. Then how soon
# after its fill the report screen has the bill's first page (bench/first_page.cpp): under 1 s at
# any size. Not run by CI.
#
#   bench/render.sh [BUILD_DIR] [LINES...]
#
# BUILD_DIR is a configured build folder of this repository (default: build); the script builds
# tallywright-cli and the layouts beside it there, and the bench folder beside it. LINES are the
# sizes to time (default: 5000 20000 200000).
set -eu
here=$(cd "$(dirname "$0")" && pwd)
repo=$(dirname "$here")
build=$(cd "${1:-$repo/build}" && pwd)
[ $# -gt 0 ] && shift
[ $# -gt 0 ] || set -- 5000 20000 200000

cmake --build "$build" --parallel 1 --target tallywright-cli appfiles twcore twrender twreports
cmake -S "$here" -B "$build-bench" -G Ninja -DTW_BUILD_DIR="$build" >/dev/null
cmake --build "$build-bench" --parallel 1 --target first_page
status=0

data=$(mktemp -d)
trap 'rm -rf "$data"' EXIT
report() {
    "$build/tallywright-cli" --folder "$data/books" report final-bill \
        --project "Riverside Township, Phase II" --out "$data/final-bill.pdf"
}
for lines in "$@"; do
    rm -rf "$data/books" && mkdir "$data/books"
    "$build/tallywright-cli" --folder "$data/books" demo --items 200 --bills 10 \
        --lines "$lines" >/dev/null
    if [ -x /usr/bin/time ]; then
        written=$(/usr/bin/time -o "$data/time" -f "%e s (%U s user), peak %M KB" \
            "$build/tallywright-cli" --folder "$data/books" report final-bill \
            --project "Riverside Township, Phase II" --out "$data/final-bill.pdf")
        figures=$(cat "$data/time")
    else
        start=$(date +%s.%N)
        written=$(report)
        end=$(date +%s.%N)
        figures=$(awk "BEGIN { printf \"%.1f s\", $end - $start }")
    fi
    # "Written: FILE (N pages)"
    pages=${written##*(}
    # Figures of a loaded machine say little: the load stands beside them.
    load=$(cut -d' ' -f1 /proc/loadavg 2>/dev/null || echo "?")
    echo "final bill of $lines lines: ${pages%)}, $figures (load $load)"
    # The first page reads the layouts beside the books.
    cp -r "$build/layouts" "$data/books/"
    QT_QPA_PLATFORM=offscreen "$build-bench/first_page" "$data/books" \
        "Riverside Township, Phase II" || status=1
done
exit $status
