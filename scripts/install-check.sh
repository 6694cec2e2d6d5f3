#!/usr/bin/env bash
# Installs build/ into a temporary prefix and runs the installed command-line companion there:
# --version, and init on a new folder. Fails when anything is missing from the install.
set -euo pipefail
cd "$(dirname "$0")/.."
prefix=$(mktemp -d)
data=$(mktemp -d)
trap 'rm -rf "$prefix" "$data"' EXIT
cmake --install build --prefix "$prefix" >/dev/null
"$prefix/bin/tallywright-cli" --version
"$prefix/bin/tallywright-cli" --folder "$data" init
# A report needs its layout, which an installed copy finds in share/tallywright/.
rm -f "$data/Tallywright.db"
"$prefix/bin/tallywright-cli" --folder "$data" demo >/dev/null
"$prefix/bin/tallywright-cli" --folder "$data" report schedule \
  --project "Lakeview School, New Wing" --out "$data/schedule.pdf"
head -c 4 "$data/schedule.pdf" | grep -q '%PDF'
for f in share/tallywright/layouts/det_estimation.html share/tallywright/docs/user-guide.html \
         share/applications/tallywright.desktop \
         share/icons/hicolor/scalable/apps/tallywright.svg \
         share/icons/hicolor/256x256/apps/tallywright.png; do
  [ -f "$prefix/$f" ] || { echo "missing from the install: $f" >&2; exit 1; }
done
echo "Installed copy works: $prefix"
