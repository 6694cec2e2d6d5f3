#!/usr/bin/env bash
# Installs build/ into a temporary prefix and runs the installed command-line companion there:
# --version, and init on a new folder; then where each kind of copy keeps its data. Fails when
# anything is missing from the install or data lands in the wrong folder.
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

# Where the data lives without --folder. An installed copy keeps it in the user's data folder,
# made owner-only.
home=$(mktemp -d)
copy=$(mktemp -d)
trap 'rm -rf "$prefix" "$data" "$home" "$copy"' EXIT
env -u XDG_DATA_HOME HOME="$home" "$prefix/bin/tallywright-cli" init >/dev/null
[ -f "$home/.local/share/Tallywright/Tallywright.db" ] ||
  { echo "an installed copy did not keep its data in the user's folder" >&2; exit 1; }
[ "$(stat -c %a "$home/.local/share/Tallywright")" = 700 ] ||
  { echo "the user's data folder is not owner-only" >&2; exit 1; }
# A copied program in a folder its user can write keeps the data beside itself.
cp build/tallywright-cli "$copy/"
env -u XDG_DATA_HOME HOME="$home/other" "$copy/tallywright-cli" init >/dev/null
[ -f "$copy/Tallywright.db" ] || { echo "a copied program did not keep its data beside itself" >&2; exit 1; }
# The same copy run by a user who cannot write its folder uses that user's data folder.
if [ "$(id -u)" -eq 0 ] && id nobody >/dev/null 2>&1 && command -v setpriv >/dev/null; then
  rm -f "$copy/Tallywright.db"
  chmod 755 "$copy"
  nobody_home=$(mktemp -d)
  chown nobody "$nobody_home"
  setpriv --reuid=nobody --regid=nogroup --clear-groups \
    env -u XDG_DATA_HOME HOME="$nobody_home" "$copy/tallywright-cli" init >/dev/null
  [ -f "$nobody_home/.local/share/Tallywright/Tallywright.db" ] && [ ! -e "$copy/Tallywright.db" ] ||
    { echo "a read-only program folder did not send the data to the user's folder" >&2; exit 1; }
  rm -rf "$nobody_home"
fi
echo "Installed copy works: $prefix"
