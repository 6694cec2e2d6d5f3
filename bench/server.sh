#!/bin/sh
# The large sample (one project of 2,000 items, 100 bills and 200,000 measurement lines) on a
# PostgreSQL server: copy-store moves it from the file to the server and back, each copy
# verified table by table; then its abstract bill is timed there against one grouped scan of
# its lines (goal: at most 3 times), and how soon after its final bill's fill the report screen
# has the bill's first page (bench/first_page.cpp; goal: under 1 s). Not run by CI.
#
#   bench/server.sh [BUILD_DIR]
#
# The server is a throwaway cluster (scripts/pg-cluster.sh), or the one whose superuser address
# the file named by TW_SERVER_URL holds. BUILD_DIR as for bench/run.sh (default: build).
set -eu
here=$(cd "$(dirname "$0")" && pwd)
repo=$(dirname "$here")
build=$(cd "${1:-$repo/build}" && pwd)
. "$here/server-common.sh"

cmake --build "$build" --parallel 1 --target tallywright-cli appfiles twcore twrender twreports
cmake -S "$here" -B "$build-bench" -G Ninja -DTW_BUILD_DIR="$build" >/dev/null
cmake --build "$build-bench" --parallel 1 --target server_bill first_page
cli="$build/tallywright-cli"

work=$(mktemp -d)
trap 'server_stop; rm -rf "$work"' EXIT
server_start "$work"
server_database large
db=$server_db
mkdir "$work/file" "$work/back" "$work/onserver"

timed() { # LABEL COMMAND...: runs it, prints its last line and how long it took
    label=$1
    shift
    start=$(date +%s.%N)
    "$@" >"$work/out" 2>&1 || { cat "$work/out" >&2; exit 1; }
    end=$(date +%s.%N)
    awk -v l="$label" -v s="$start" -v e="$end" 'BEGIN { printf "%-28s %7.1f s\n", l, e - s }'
}
timed "demo (file)" "$cli" --folder "$work/file" demo --items 2000 --bills 100 --lines 200000
timed "copy-store file -> server" "$cli" --folder "$work/file" copy-store --from local --to "$db"
grep -c ' rows  checksum ' "$work/out" | sed 's/^/  tables verified: /'
timed "copy-store server -> file" "$cli" --folder "$work/back" copy-store --from "$db" --to local
grep -c ' rows  checksum ' "$work/out" | sed 's/^/  tables verified: /'
# The copy back holds what the first file held, table by table.
for t in $(sqlite3 "$work/file/Tallywright.db" "select name from sqlite_master where type='table' and name <> 'sqlite_sequence'"); do
    a=$(sqlite3 "$work/file/Tallywright.db" "select count(*) from \"$t\"")
    b=$(sqlite3 "$work/back/Tallywright.db" "select count(*) from \"$t\"")
    [ "$a" = "$b" ] || { echo "table $t: $a rows, $b after the round trip" >&2; exit 1; }
done
echo "  the round trip kept every table's rows"

server_config "$db" >"$work/onserver/twk.cfg"
PGPASSWORD=$(server_password) "$build-bench/server_bill" "$work/onserver"
# The first page reads the layouts beside the books.
cp -r "$build/layouts" "$work/onserver/"
PGPASSWORD=$(server_password) QT_QPA_PLATFORM=offscreen "$build-bench/first_page" "$work/onserver" \
    "Riverside Township, Phase II"
