#!/bin/sh
# Kills a program that generates and freezes a bill over and over, at random moments, many
# times, and checks after each kill that the database is sound and that the bill is never half
# frozen: it is marked frozen exactly when its lines stand in abstractbills. Not run by CI.
#
#   bench/kill_freeze.sh [BUILD_DIR] [ROUNDS]
set -eu
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$(dirname "$here")/build}" && pwd)
rounds=${2:-200}
cmake --build "$build" --parallel 1 --target tallywright-cli twcore >/dev/null
cmake -S "$here" -B "$build-bench" -G Ninja -DTW_BUILD_DIR="$build" >/dev/null
cmake --build "$build-bench" --parallel 1 --target freeze_loop >/dev/null

data=$(mktemp -d)
trap 'rm -rf "$data"' EXIT
"$build/tallywright-cli" --folder "$data" demo >/dev/null 2>&1
db="$data/Tallywright.db"
project=$(sqlite3 "$db" "select tw_contract_name from contractmaster limit 1")

killed=0
i=0
while [ "$i" -lt "$rounds" ]; do
    i=$((i + 1))
    "$build-bench/freeze_loop" "$data" "$project" RA-02 >/dev/null 2>&1 &
    pid=$!
    sleep "$(awk "BEGIN { srand($i); printf \"%.3f\", rand() * 2 }")"
    if kill -9 "$pid" 2>/dev/null; then killed=$((killed + 1)); fi
    wait "$pid" 2>/dev/null || true
    check=$(sqlite3 "$db" "pragma integrity_check")
    [ "$check" = ok ] || { echo "round $i: integrity_check: $check"; exit 1; }
    half=$(sqlite3 "$db" "select count(*) from billsraised b where (b.tw_froze = 1) !=
        (exists (select 1 from abstractbills a where a.tw_contract_num = b.tw_contract_num
                 and a.tw_bill_num = b.tw_bill_num))")
    [ "$half" -eq 0 ] || { echo "round $i: $half bills half frozen"; exit 1; }
done
frozen=$(sqlite3 "$db" "select count(*) from billsraised where tw_froze = 1")
echo "$rounds runs, $killed killed midway ($frozen frozen at the end): the database stayed sound and no bill was half frozen"
