#!/usr/bin/env bash
# Two copies of tallywright-cli adding the same receipt to the same bill at the same moment,
# many times: each time one adds it and the other is refused as the payments screen refuses a
# receipt that stands already, and the bill holds the receipt once. On the sample file, or on a
# new database of the server whose superuser address the file TW_TEST_SERVER names.
#
#   tests/cli/payment-race.sh [CLI] [ROUNDS]    (build/tallywright-cli, 30)
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
cli=$(realpath "${1:-$here/../../build/tallywright-cli}")
rounds=${2:-30}
work=$(mktemp -d)
books=()
cleanup() {
    [ -n "${admin:-}" ] && psql -q "$admin" -c "drop database if exists $name" >/dev/null 2>&1
    rm -rf "$work"
}
trap cleanup EXIT

mkdir "$work/file"
"$cli" --folder "$work/file" demo >"$work/sample" || exit 1
if [ -n "${TW_TEST_SERVER:-}" ]; then
    admin=$(cat "$TW_TEST_SERVER")
    name="tw_payment_race_$$"
    psql -q "$admin" -c "create database $name" >/dev/null || exit 1
    db="${admin%/*}/$name"
    "$cli" --folder "$work/file" copy-store --from local --to "$db" >/dev/null || exit 1
    books=(--server "$db")
fi
tw() { "$cli" --folder "$work/file" "${books[@]}" "$@"; }
number=$(sed -n 's/^  \([^ ]*\)  .*/\1/p' "$work/sample" | head -1)
project=$(sed -n 's/^  [^ ]*  \(.*\) ([A-Za-z]*): .*/\1/p' "$work/sample" | head -1)
tw report abstract-bill --project "$project" --bill RA-01 --out "$work/bill.csv" >/dev/null ||
    exit 1

failed=0
add() { # RECEIPT SEAT
    tw payment add --project "$number" --bill RA-01 --receipt "$1" --date 01-04-2026 \
        --amount 100 --tds 0 --recoveries 0 --type Cash --cheque - --bank - --branch - \
        >"$work/out$2" 2>"$work/err$2"
    echo $? >"$work/code$2"
}
for round in $(seq 1 "$rounds"); do
    add "V-$round" 1 &
    add "V-$round" 2 &
    wait
    codes="$(cat "$work/code1") $(cat "$work/code2")"
    refused=$(cat "$work/err1" "$work/err2" | grep -c "already exisiting")
    rows=$(tw payment list --project "$number" --bill RA-01 | grep -c "	V-$round	")
    if [ "$rows" -ne 1 ] || [ "$refused" -ne 1 ] || { [ "$codes" != "0 1" ] && [ "$codes" != "1 0" ]; }; then
        echo "FAIL: round $round: exit codes $codes, $refused refused, the receipt $rows times"
        cat "$work/err1" "$work/err2"
        failed=1
    fi
done
[ "$failed" -eq 0 ] && echo "$rounds rounds: one payment each time"
exit "$failed"
