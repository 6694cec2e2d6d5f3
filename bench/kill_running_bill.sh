#!/bin/sh
# Kills the command-line companion at random moments while it generates abstract bills, many
# times over, and checks after each kill that the database is sound and that no bill is half
# computed: the working table holds its one tax line, and the bill's row in billsraised holds
# the gross amount and deductions of the lines beside it. Not run by CI.
#
#   bench/kill_running_bill.sh [BUILD_DIR] [ROUNDS]
set -eu
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$(dirname "$here")/build}" && pwd)
rounds=${2:-200}
cli="$build/tallywright-cli"

data=$(mktemp -d)
trap 'rm -rf "$data"' EXIT
"$cli" --folder "$data" demo >/dev/null 2>&1
db="$data/Tallywright.db"
project=$(sqlite3 "$db" "select tw_contract_name from contractmaster limit 1")
number=$(sqlite3 "$db" "select tw_contract_num from contractmaster limit 1")
sqlite3 "$db" "insert into absbl_dedns values('$number','RA-02','Water charges',2,'Month',1500,3000)"

killed=0
i=0
while [ "$i" -lt "$rounds" ]; do
    i=$((i + 1))
    bill=RA-0$((i % 3 + 1))
    "$cli" --folder "$data" report abstract-bill --project "$project" --bill "$bill" \
        --out "$data/bill.html" >/dev/null 2>&1 &
    pid=$!
    sleep "0.$(awk "BEGIN { srand($i); printf \"%03d\", int(rand() * 400) }")"
    if kill -9 "$pid" 2>/dev/null; then killed=$((killed + 1)); fi
    wait "$pid" 2>/dev/null || true

    check=$(sqlite3 "$db" "pragma integrity_check")
    [ "$check" = ok ] || { echo "round $i: integrity_check: $check"; exit 1; }
    # An empty working table is a run that never began; a filled one holds its tax line.
    rows=$(sqlite3 "$db" "select count(*) from abstractbillrep")
    if [ "$rows" -gt 0 ]; then
        tax=$(sqlite3 "$db" "select count(*) from abstractbillrep where tw_sch_desc like
            'TDS Recovered @ %'")
        [ "$tax" -eq 1 ] || { echo "round $i: $tax tax lines"; exit 1; }
        # The lines and the bill's row were written together: some raised bill has exactly
        # the lines' gross amount and deductions.
        match=$(sqlite3 "$db" "select count(*) from billsraised b where abs(b.tw_bill_amount -
            (select total(tw_now_amt) from abstractbillrep where tw_dedn='NO')) < 0.005 and
            abs(b.tw_dedn_amount - (select total(tw_now_amt) from abstractbillrep where
            tw_dedn='YES' and tw_unit is not null)) < 0.005")
        [ "$match" -ge 1 ] || { echo "round $i: no bill matches the lines"; exit 1; }
    fi
done
echo "$rounds runs, $killed killed midway: the database stayed sound and no bill was half computed"
