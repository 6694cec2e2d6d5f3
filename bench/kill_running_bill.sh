#!/bin/sh
# Kills the generation of abstract bills, over and over, each time as a statement picked at
# random begins (so most kills land inside a transaction), and checks after each kill that the
# database is sound and that no bill is half computed: the working table holds its one tax line,
# and the bill's row in billsraised holds the gross amount and deductions of the lines beside it.
# Not run by CI; needs the sqlite3 program.
#
#   bench/kill_running_bill.sh [BUILD_DIR] [ROUNDS]
set -eu
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$(dirname "$here")/build}" && pwd)
rounds=${2:-200}
command -v sqlite3 >/dev/null || { echo "kill_running_bill: the sqlite3 program is needed" >&2; exit 2; }
cmake --build "$build" --parallel 1 --target tallywright-cli twcore >/dev/null
cmake -S "$here" -B "$build-bench" -G Ninja -DTW_BUILD_DIR="$build" >/dev/null
cmake --build "$build-bench" --parallel 1 --target freeze_loop >/dev/null
loop="$build-bench/freeze_loop"

data=$(mktemp -d)
trap 'rm -rf "$data"' EXIT
"$build/tallywright-cli" --folder "$data" demo >/dev/null 2>&1
db="$data/Tallywright.db"
project=$(sqlite3 "$db" "select tw_contract_name from contractmaster limit 1")
number=$(sqlite3 "$db" "select tw_contract_num from contractmaster limit 1")
sqlite3 "$db" "insert into absbl_dedns values('$number','RA-02','Water charges',2,'Month',1500,3000)"
per_round=$("$loop" "$data" "$project" RA-02 1 fill)

killed=0 inside=0 i=0
while [ "$i" -lt "$rounds" ]; do
    i=$((i + 1))
    bill=RA-0$((i % 3 + 1))
    n=$(awk "BEGIN { srand($i); print 1 + int(rand() * 2 * $per_round) }")
    status=0
    TW_KILL_AFTER=$n "$loop" "$data" "$project" "$bill" 3 fill >/dev/null 2>&1 || status=$?
    [ "$status" -eq 137 ] && killed=$((killed + 1))
    [ -s "$db-journal" ] && inside=$((inside + 1))

    check=$(sqlite3 "$db" "pragma integrity_check")
    [ "$check" = ok ] || { echo "round $i (statement $n): integrity_check: $check"; exit 1; }
    # An empty working table is a run that never began; a filled one holds its tax line.
    rows=$(sqlite3 "$db" "select count(*) from abstractbillrep")
    if [ "$rows" -gt 0 ]; then
        tax=$(sqlite3 "$db" "select count(*) from abstractbillrep where tw_sch_desc like
            'TDS Recovered @ %'")
        [ "$tax" -eq 1 ] || { echo "round $i (statement $n): $tax tax lines"; exit 1; }
        # The lines and the bill's row were written together: some raised bill has exactly
        # the lines' gross amount and deductions.
        match=$(sqlite3 "$db" "select count(*) from billsraised b where abs(b.tw_bill_amount -
            (select total(tw_now_amt) from abstractbillrep where tw_dedn='NO')) < 0.005 and
            abs(b.tw_dedn_amount - (select total(tw_now_amt) from abstractbillrep where
            tw_dedn='YES' and tw_unit is not null)) < 0.005")
        [ "$match" -ge 1 ] || { echo "round $i (statement $n): no bill matches the lines"; exit 1; }
    fi
done
echo "$rounds runs, $killed killed at a statement picked at random ($inside inside a transaction," \
     "$per_round statements a run): the database stayed sound and no bill was half computed"
