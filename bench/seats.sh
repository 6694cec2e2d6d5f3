#!/bin/bash
# Several seats on one server database at once: SEATS copies of tallywright-cli for SECONDS of
# mixed work on the sample's books, each seat logging its actions (measurement lines imported
# into one shared bill, abstract bills generated, payments added with receipt numbers that
# collide on purpose, every type of report run). Afterwards it checks that no action was lost or
# doubled, that no receipt number stands twice on a bill, that no bill is half frozen, and that
# every report of the project no seat writes to equals the same report run alone afterwards;
# then prints actions per second and the slowest action. Exits 1 when a check fails.
#
#   bench/seats.sh [CLI] [SEATS] [SECONDS]     (build/tallywright-cli, 8, 60)
#
# TW_SEATS_REPORTS="TYPE ..." runs only those report types.
#
# The server is a throwaway cluster (scripts/pg-cluster.sh), or the one whose superuser address
# the file named by TW_SERVER_URL holds.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
repo=$(dirname "$here")
cli=$(realpath "${1:-$repo/build/tallywright-cli}")
seats=${2:-8}
seconds=${3:-60}
[ -x "$cli" ] || { echo "seats: no program $cli" >&2; exit 2; }
. "$here/server-common.sh"

work=$(mktemp -d)
trap 'server_stop; rm -rf "$work"' EXIT
server_start "$work"
server_database seats
db=$server_db
q() { psql -qAt "$db" -c "$1"; }
tw() { "$cli" --folder "$work" --server "$db" "$@"; }

# The sample, made in a file and moved to the server as an office moves its books.
mkdir "$work/file"
"$cli" --folder "$work/file" demo >"$work/demo"
"$cli" --folder "$work/file" copy-store --from local --to "$db" >/dev/null
# The sample's two projects: "  NUMBER  NAME (UNITS): ..."
mapfile -t numbers < <(sed -n 's/^  \([^ ]*\)  .*/\1/p' "$work/demo")
mapfile -t names < <(sed -n 's/^  [^ ]*  \(.*\) ([A-Za-z]*): .*/\1/p' "$work/demo")
[ "${#numbers[@]}" -eq 2 ] || { echo "seats: no sample" >&2; exit 2; }
busy=${numbers[0]} busyName=${names[0]} quiet=${names[1]}
# The busy project's first item: every seat imports lines of it into bill RA-04, each time four
# lines of its own and one that every import shares (found by its narration, never doubled).
item=$(q "select tw_sch_num from sch_master where tw_contract_num='$busy' limit 1")
# The busy project's bills raised before the seats start, so that payments have bills to pay.
for bill in RA-01 RA-02 RA-03; do
    tw report abstract-bill --project "$busyName" --bill "$bill" --out "$work/prime.csv" >/dev/null
done

# The quiet project's reports: "TYPE BILL", "-" for the types that take none; every type unless
# TW_SEATS_REPORTS names some.
types=${TW_SEATS_REPORTS:-detailed-estimate abstract-estimate detailed-bill abstract-bill
    reinforcement tender-schedule project-info final-bill schedule bills-raised}
runs=()
for type in $types; do
    case $type in
    project-info | final-bill | schedule | bills-raised) runs+=("$type -") ;;
    *) for bill in RA-01 RA-02 RA-03; do runs+=("$type $bill"); done ;;
    esac
done
report() { # PROJECT "TYPE BILL" OUT
    local type=${2% *} bill=${2#* }
    if [ "$bill" = - ]; then
        tw report "$type" --project "$1" --out "$3"
    else
        tw report "$type" --project "$1" --bill "$bill" --out "$3"
    fi
}
# Each of the quiet project's abstract bills once first, so that its bills raised stand as they
# will when the same reports are run alone.
for r in "${runs[@]}"; do
    case $r in abstract-bill*) report "$quiet" "$r" "$work/prime.csv" >/dev/null ;; esac
done

# seat N: until the time is up, one action after another, each logged as
# "seat action detail result milliseconds".
seat() {
    local n=$1 i=0 log="$work/seat$1.log" end=$(($(date +%s) + seconds))
    RANDOM=$((n * 7919))
    mkdir -p "$work/r$n"
    while [ "$(date +%s)" -lt "$end" ]; do
        i=$((i + 1))
        local pick=$((RANDOM % 4)) start result detail
        start=$(date +%s%N)
        case $pick in
        0)
            detail=RA-04
            for k in 1 2 3 4 shared; do
                [ $k = shared ] || k="seat $n action $i line $k"
                echo "$item,$k,rectangle_area,2,5,3,25,,,,,1,0"
            done >"$work/r$n/lines.csv"
            tw measurements import --project "$busy" --bill RA-04 "$work/r$n/lines.csv" \
                >/dev/null 2>"$work/r$n/err" && result=ok || result=failed
            ;;
        1)
            detail=RA-0$((RANDOM % 3 + 1))
            tw report abstract-bill --project "$busyName" --bill "$detail" \
                --out "$work/r$n/bill.csv" >/dev/null 2>"$work/r$n/err" && result=ok || result=failed
            ;;
        2)
            detail="RA-0$((RANDOM % 3 + 1)) V-$((RANDOM % 40))"
            tw payment add --project "$busy" --bill "${detail% *}" --receipt "${detail#* }" \
                --date 01-04-2026 --amount 100 --tds 1 --recoveries 0 --type Cheque \
                --cheque 1 --bank B --branch C >/dev/null 2>"$work/r$n/err" && result=ok ||
                { grep -q "already exisiting" "$work/r$n/err" && result=refused || result=failed; }
            ;;
        3)
            local r=$((RANDOM % ${#runs[@]}))
            detail=$r
            report "$quiet" "${runs[$r]}" "$work/r$n/$i.csv" >/dev/null 2>"$work/r$n/err" &&
                result=ok || result=failed
            ;;
        esac
        [ "$result" = failed ] && sed "s/^/  seat $n, action $pick $detail: /" "$work/r$n/err" >&2
        echo "$n $pick ${detail// /:} $result $((($(date +%s%N) - start) / 1000000))" >>"$log"
    done
}
started=$(date +%s%N)
for n in $(seq 1 "$seats"); do seat "$n" & done
wait
elapsed=$((($(date +%s%N) - started) / 1000000))
cat "$work"/seat*.log >"$work/all.log"

bad=0
fail() { echo "FAILED: $*"; bad=1; }
count() { awk -v p="$1" -v r="$2" '$2 == p && $4 == r' "$work/all.log" | wc -l; }
failed=$(awk '$4 == "failed"' "$work/all.log" | wc -l)
[ "$failed" -eq 0 ] || fail "$failed actions failed"
# Lines: four of its own for every import that was done, and the shared one once.
imports=$(count 0 ok)
want=$((imports * 4 + (imports > 0)))
lines=$(q "select count(*) from billmaster where tw_contract_num='$busy' and tw_bill_num='RA-04'")
[ "$lines" -eq "$want" ] || fail "$imports imports left $lines lines, not $want"
# Payments: one row for each added, each receipt once on its bill, and every one added there.
payments=$(count 2 ok)
rows=$(q "select count(*) from payment_rec where tw_contract_num='$busy'")
[ "$rows" -eq "$payments" ] || fail "$payments payments added, $rows rows"
twice=$(q "select count(*) from (select 1 from payment_rec group by tw_contract_num, tw_bill_num,
    tw_recpt_num having count(*) > 1) d")
[ "$twice" -eq 0 ] || fail "$twice receipt numbers stand twice on a bill"
awk '$2 == 2 && $4 == "ok" { print $3 }' "$work/all.log" | sort >"$work/paid"
q "select tw_bill_num || ':' || tw_recpt_num from payment_rec where tw_contract_num='$busy'" |
    sort >"$work/rows"
cmp -s "$work/paid" "$work/rows" || fail "the payments added are not the rows"
# A bill's row in billsraised once; frozen bills whole, with their lines copied.
raised=$(q "select count(*) from (select 1 from billsraised group by tw_contract_num, tw_bill_num
    having count(*) > 1) d")
[ "$raised" -eq 0 ] || fail "$raised bills stand twice in billsraised"
half=$(q "select count(*) from billsraised b where (tw_froze = 1) <> exists (select 1 from
    abstractbills a where a.tw_contract_num = b.tw_contract_num and a.tw_bill_num = b.tw_bill_num)")
[ "$half" -eq 0 ] || fail "$half bills are half frozen"
# Every report of the quiet project as it is when run alone.
differ=0
for log in "$work"/seat*.log; do
    n=$(basename "$log" .log)
    n=${n#seat}
    i=0
    while read -r _ pick detail result _; do
        i=$((i + 1))
        [ "$pick" = 3 ] && [ "$result" = ok ] || continue
        alone="$work/alone-$detail.csv"
        [ -f "$alone" ] || report "$quiet" "${runs[$detail]}" "$alone" >/dev/null
        cmp -s "$alone" "$work/r$n/$i.csv" || { differ=$((differ + 1)); echo "  differs: ${runs[$detail]}"; }
    done <"$log"
done
[ "$differ" -eq 0 ] || fail "$differ reports differ from the same report run alone"

total=$(wc -l <"$work/all.log")
echo "$seats seats, $((elapsed / 1000)) s: $total actions ($imports imports, $(count 1 ok) abstract" \
    "bills, $payments payments and $(count 2 refused) receipts refused as taken, $(count 3 ok)" \
    "reports)"
awk -v ms="$elapsed" -v n="$total" 'BEGIN { printf "%.1f actions per second\n", n * 1000 / ms }'
sort -k5,5n "$work/all.log" | tail -n 1 | awk '{ split("import abstract-bill payment report", k);
    printf "slowest: seat %s, %s %s, %d ms\n", $1, k[$2 + 1], $3, $5 }'
[ "$bad" -eq 0 ] && echo "every check passed"
exit "$bad"
