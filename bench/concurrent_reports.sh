#!/bin/sh
# Runs reports two at a time through tallywright-cli on the demo sample, each pair two runs of
# different projects (and types and bills), and checks that every run writes exactly what the
# same run writes alone and ends well. Prints how many runs differed or failed; exits 1 if any.
#
#   bench/concurrent_reports.sh [CLI] [PAIRS] [EXT]    (build/tallywright-cli, 100 pairs, csv)
# EXT is csv or html: a PDF or a workbook holds the moment it was made, so no two are the same.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
cli=$(realpath "${1:-$here/../build/tallywright-cli}")
pairs=${2:-100}
ext=${3:-csv}
[ -x "$cli" ] || { echo "concurrent_reports: no program $cli" >&2; exit 2; }
case $ext in csv | html) ;; *) echo "concurrent_reports: EXT is csv or html" >&2; exit 2 ;; esac

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
data="$work/data"
mkdir "$data" "$work/alone" "$work/pair"
# The sample's two projects, by name: "  NUMBER  NAME (UNITS): ..."
"$cli" --folder "$data" demo | sed -n 's/^  [^ ]*  \(.*\) ([A-Za-z]*): .*/\1/p' >"$work/projects"
[ "$(wc -l <"$work/projects")" -eq 2 ] || { echo "concurrent_reports: no sample" >&2; exit 2; }

# Every run of one project: "TYPE BILL", the bill "-" for types that take none.
for type in detailed-estimate abstract-estimate detailed-bill abstract-bill reinforcement \
    tender-schedule; do
    for bill in RA-01 RA-02 RA-03; do echo "$type $bill"; done
done >"$work/runs"
for type in project-info final-bill schedule bills-raised; do echo "$type -"; done >>"$work/runs"
count=$(wc -l <"$work/runs")

# report PROJECT_LINE RUN_LINE OUT: one run, its output in OUT, its stderr and code beside it.
report() {
    project=$(sed -n "${1}p" "$work/projects")
    set -- "$1" "$(sed -n "${2}p" "$work/runs")" "$3"
    type=${2% *}
    bill=${2#* }
    if [ "$bill" = - ]; then
        "$cli" --folder "$data" report "$type" --project "$project" --out "$3" >/dev/null \
            2>"$3.err" || echo failed >>"$3.err"
    else
        "$cli" --folder "$data" report "$type" --project "$project" --bill "$bill" \
            --out "$3" >/dev/null 2>"$3.err" || echo failed >>"$3.err"
    fi
}

# Each abstract bill once first: later runs then find the same bills raised as the first did.
for p in 1 2; do
    for r in $(seq 1 "$count"); do
        case $(sed -n "${r}p" "$work/runs") in abstract-bill*) report $p "$r" "$work/prime.$ext" ;; esac
    done
done
for p in 1 2; do
    for r in $(seq 1 "$count"); do report $p "$r" "$work/alone/$p-$r.$ext"; done
done

differ=0 failed=0
for i in $(seq 1 "$pairs"); do
    a=$((i * 5 % count + 1))
    b=$((i * 13 % count + 1))
    report 1 "$a" "$work/pair/1.$ext" &
    report 2 "$b" "$work/pair/2.$ext" &
    wait
    for side in "1 $a" "2 $b"; do
        set -- $side
        if [ -s "$work/pair/$1.$ext.err" ]; then
            failed=$((failed + 1))
            echo "pair $i: $(sed -n "${2}p" "$work/runs") of project $1 failed: $(head -1 "$work/pair/$1.$ext.err")"
        elif ! cmp -s "$work/pair/$1.$ext" "$work/alone/$1-$2.$ext"; then
            differ=$((differ + 1))
            echo "pair $i: $(sed -n "${2}p" "$work/runs") of project $1 differs from the same run alone"
        fi
        rm -f "$work/pair/$1.$ext" "$work/pair/$1.$ext.err"
    done
done
echo "$pairs pairs ($((2 * pairs)) runs, .$ext): $differ differed from the same run alone," \
     "$failed failed"
[ "$differ" -eq 0 ] && [ "$failed" -eq 0 ]
