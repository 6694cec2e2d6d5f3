#!/bin/sh
# Kills a program that generates and freezes a bill over and over, each time as a statement
# picked at random begins (so most kills land inside a transaction), and checks after each kill
# that the database is sound and the bill never half frozen: a bill marked frozen holds exactly
# as many frozen lines as a whole freeze gives it, one not marked holds none. Not run by CI; needs
# the sqlite3 program.
#
#   bench/kill_freeze.sh [BUILD_DIR] [ROUNDS]
set -eu
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$(dirname "$here")/build}" && pwd)
rounds=${2:-200}
command -v sqlite3 >/dev/null || { echo "kill_freeze: the sqlite3 program is needed" >&2; exit 2; }
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
bill=RA-02
frozen_lines="select count(*) from abstractbills where tw_contract_num = '$number' and
    tw_bill_num = '$bill'"

# One round that nobody kills: how many statements it runs, and the lines of a whole freeze.
per_round=$("$loop" "$data" "$project" "$bill" 1)
whole=$(sqlite3 "$db" "$frozen_lines")
[ "$whole" -gt 0 ] || { echo "a whole freeze froze no line"; exit 1; }

killed=0 inside=0 i=0
while [ "$i" -lt "$rounds" ]; do
    i=$((i + 1))
    # Any statement of two rounds: the thaw, the bill's generation or its freeze.
    n=$(awk "BEGIN { srand($i); print 1 + int(rand() * 2 * $per_round) }")
    status=0
    TW_KILL_AFTER=$n "$loop" "$data" "$project" "$bill" 3 >/dev/null 2>&1 || status=$?
    [ "$status" -eq 137 ] && killed=$((killed + 1))
    # A journal left behind is a transaction the kill cut short, rolled back at the next open.
    [ -s "$db-journal" ] && inside=$((inside + 1))
    check=$(sqlite3 "$db" "pragma integrity_check")
    [ "$check" = ok ] || { echo "round $i (statement $n): integrity_check: $check"; exit 1; }
    froze=$(sqlite3 "$db" "select tw_froze from billsraised where tw_contract_num = '$number'
        and tw_bill_num = '$bill'")
    lines=$(sqlite3 "$db" "$frozen_lines")
    want=0
    [ "$froze" = 1 ] && want=$whole
    [ "$lines" -eq "$want" ] ||
        { echo "round $i (statement $n): frozen $froze with $lines of $whole lines"; exit 1; }
done
echo "$rounds runs, $killed killed at a statement picked at random ($inside inside a transaction," \
     "$per_round statements a round): the database stayed sound, and a frozen bill always held" \
     "its $whole lines"
