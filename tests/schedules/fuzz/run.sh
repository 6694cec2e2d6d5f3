#!/bin/sh
# Fuzzes the workbook reader for a bounded time per format, seeded with the sample workbooks.
#
#   tests/schedules/fuzz/run.sh [SECONDS_PER_FORMAT] [WORK_DIR]
#
# With 0 seconds it only runs the kept crashers through the sanitized reader: a crash, an
# out-of-bounds read or a leak there fails the run.
# Needs clang++ (apt-get install -y clang). Inputs that crash, leak or hang the reader are copied
# to tests/data/workbooks/crashers, which the import test reads through the reader on every run.
# A reading library that fails inside the reader's child process leaves an artifact too; those
# are tried again and kept only when the reader itself fails on them.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
repo=$(cd "$here/../../.." && pwd)
seconds=${1:-600}
work=${2:-/tmp/workbook-fuzz}
mkdir -p "$work"

qt="$(pkg-config --cflags Qt6Core) -fPIC"
clang++ -std=c++20 -g -O1 -fsanitize=fuzzer,address -I"$repo/src" $qt \
    $(pkg-config --cflags liborcus-0.17 freexl xlsxwriter) \
    "$here/workbook_fuzz.cpp" "$repo/src/core/schedules/workbook.cpp" \
    "$repo/src/core/schedules/workbook_xlsx.cpp" "$repo/src/values/values.cpp" \
    $(pkg-config --libs Qt6Core liborcus-0.17 freexl xlsxwriter) -o "$work/workbook_fuzz"

if [ "$seconds" = 0 ]; then
    exec "$work/workbook_fuzz" -runs=1 "$repo"/tests/data/workbooks/crashers/*
fi

for ext in xls xlsx ods; do
    corpus="$work/corpus-$ext"
    mkdir -p "$corpus" "$work/found-$ext"
    cp "$repo"/tests/data/workbooks/*."$ext" "$corpus"/
    ( cd "$work/found-$ext" &&
      ASAN_OPTIONS=detect_leaks=1 "$work/workbook_fuzz" -max_total_time="$seconds" -timeout=10 \
          -rss_limit_mb=2048 -max_len=65536 -fork=1 -ignore_crashes=1 -ignore_timeouts=1 \
          -ignore_ooms=1 "$corpus" >"$work/fuzz-$ext.log" 2>&1 || true )
    for f in "$work/found-$ext"/crash-* "$work/found-$ext"/leak-* "$work/found-$ext"/timeout-* \
             "$work/found-$ext"/oom-*; do
        [ -e "$f" ] || continue
        "$work/workbook_fuzz" -runs=1 "$f" >/dev/null 2>&1 ||
            cp "$f" "$repo/tests/data/workbooks/crashers/$ext-$(basename "$f")"
    done
    grep -E '^#[0-9]+.*(DONE|pulse)|stat::number_of_executed_units' "$work/fuzz-$ext.log" | tail -1 || true
done
ls "$repo/tests/data/workbooks/crashers"
