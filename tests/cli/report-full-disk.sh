#!/usr/bin/env bash
# A report written onto a disk that fills, in each kind of file: the user is told "No space left
# on the device" with the file's name, "Written" is never printed, and nothing cut short is left,
# under the file's name or beside it. The books stay elsewhere; only the report's folder fills.
#
#   tests/cli/report-full-disk.sh [CLI]    (CLI default build/tallywright-cli)
# Needs unshare with user namespaces, or root, to mount a small tmpfs (skipped, saying so,
# without them). ctest runs it.
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
cli=$(realpath "${1:-$here/../../build/tallywright-cli}")

if [ "${2:-}" = inside ]; then
    work=$3
    mount -t tmpfs -o size=64k tmpfs "$work/full" || exit 2
    dd if=/dev/zero of="$work/full/filler" bs=4k count=$(($(stat -f -c %a "$work/full") - 2)) \
        2>/dev/null
    project=$(sed -n 's/^  [^ ]*  \(.*\) ([A-Za-z]*): .*/\1/p' "$work/sample" | head -1)
    failed=0
    for kind in pdf html csv xlsx; do
        out=$work/full/final.$kind
        "$cli" --folder "$work" report final-bill --project "$project" --out "$out" \
            >"$work/out" 2>"$work/err"
        code=$?
        fail() { echo "FAIL: .$kind: $1"; failed=1; }
        [ "$code" -eq 1 ] || fail "exit code $code"
        grep -qF "$out: No space left on the device" "$work/err" || fail "said $(cat "$work/err")"
        [ ! -s "$work/out" ] || fail "printed $(cat "$work/out")"
        [ "$(ls "$work/full")" = filler ] || fail "left $(ls "$work/full" | tr '\n' ' ')"
    done
    [ "$failed" -eq 0 ] && echo "report-full-disk: pdf, html, csv and xlsx told and left nothing"
    exit "$failed"
fi

[ -x "$cli" ] || { echo "report-full-disk: no program $cli" >&2; exit 2; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/full"
"$cli" --folder "$work" demo >"$work/sample" || exit 2
if unshare -Urm true 2>/dev/null; then
    unshare -Urm "$0" "$cli" inside "$work"
elif [ "$(id -u)" -eq 0 ]; then
    "$0" "$cli" inside "$work"
    status=$?
    umount "$work/full"
    exit $status
else
    echo "report-full-disk: skipped (needs unshare with user namespaces, or root, for a tmpfs)"
fi
