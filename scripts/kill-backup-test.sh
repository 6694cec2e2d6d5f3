#!/usr/bin/env bash
# Kills `tallywright-cli backup` with SIGKILL at random moments, many times, then checks that
# the live database passes PRAGMA integrity_check and is byte for byte what it was, that no
# half-written backup is listed or stands under a backup's name, and that the next backup sweeps
# away what the killed ones left.
#
#   scripts/kill-backup-test.sh [CLI] [RUNS]
#     CLI   the tallywright-cli to test (default: build/tallywright-cli)
#     RUNS  how many backups to start and kill (default: 300)
set -euo pipefail

cli=${1:-"$(dirname "$0")/../build/tallywright-cli"}
runs=${2:-300}
command -v sqlite3 >/dev/null || { echo "kill-backup-test: sqlite3 is needed" >&2; exit 2; }
[ -x "$cli" ] || { echo "kill-backup-test: no program $cli" >&2; exit 2; }

dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
export XDG_RUNTIME_DIR="$dir"

# A database large enough that a backup takes a while, so that kills land inside it.
"$cli" --folder "$dir" demo --items 400 --bills 20 --lines 40000 >/dev/null
live="$dir/Tallywright.db"
before=$(sha256sum "$live" | cut -d' ' -f1)

# How long one backup takes, so the kills are spread over the whole of one.
start=$(date +%s%N)
"$cli" --folder "$dir" backup >/dev/null
span_ms=$(( ($(date +%s%N) - start) / 1000000 + 1 ))

killed=0 finished=0
for ((i = 0; i < runs; i++)); do
  "$cli" --folder "$dir" backup >/dev/null 2>&1 &
  pid=$!
  delay_ms=$(( RANDOM % (span_ms + span_ms / 4 + 1) ))
  sleep "$(printf '0.%03d' "$delay_ms")"
  if kill -KILL "$pid" 2>/dev/null; then
    wait "$pid" 2>/dev/null || true
    killed=$((killed + 1))
  else
    wait "$pid" 2>/dev/null || true
    finished=$((finished + 1))
  fi
done

# The next backup sweeps away what the killed ones left.
left_by_kills=$(find "$dir/backups" -type f ! -name 'Tallywright-*.db' | wc -l)
"$cli" --folder "$dir" backup >/dev/null

fail=0
integrity=$(sqlite3 "$live" 'PRAGMA integrity_check;')
[ "$integrity" = ok ] || { echo "FAIL: live database: $integrity"; fail=1; }
after=$(sha256sum "$live" | cut -d' ' -f1)
[ "$before" = "$after" ] || { echo "FAIL: live database changed"; fail=1; }

# Every file that bears a backup's name must be a whole, sound database.
named=0
for f in "$dir"/backups/Tallywright-*.db; do
  [ -e "$f" ] || continue
  named=$((named + 1))
  r=$(sqlite3 "$f" 'PRAGMA integrity_check;' 2>&1 || true)
  [ "$r" = ok ] || { echo "FAIL: $f: $r"; fail=1; }
done
# And the listing counts only sound ones.
listing=$("$cli" --folder "$dir" backups)
# Each line: date, time, size, check, path.
bad=$(printf '%s\n' "$listing" | awk 'NF && $4 != "ok"' | wc -l)
listed=$(printf '%s\n' "$listing" | awk 'NF' | wc -l)
[ "$bad" -eq 0 ] || { echo "FAIL: listed backups that are not ok:"; printf '%s\n' "$listing"; fail=1; }
others=$(find "$dir/backups" -type f ! -name 'Tallywright-*.db' | wc -l)
[ "$others" -eq 0 ] || { echo "FAIL: the next backup left what the killed ones left"; fail=1; }

echo "runs: $runs  killed mid-run: $killed  finished before the kill: $finished"
echo "one backup takes about ${span_ms} ms; backups named and sound: $named, listed: $listed"
echo "files the kills left: $left_by_kills, left after the next backup: $others"
echo "live database: integrity $integrity, unchanged: $([ "$before" = "$after" ] && echo yes || echo no)"
[ "$fail" -eq 0 ] && echo PASS || { echo FAIL; exit 1; }
