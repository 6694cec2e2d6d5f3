#!/usr/bin/env bash
# Installs what a fresh Debian 12 machine lacks, then configures and builds Tallywright in
# build/, which is then a working application folder.
set -euo pipefail
cd "$(dirname "$0")/.."

# The fonts: reports are set in DejaVu Sans, and names in other scripts (Devanagari, Tamil,
# Arabic, ...) print in the Noto fonts, which the report tests check. The server store needs
# Qt's PostgreSQL driver and libpq; the server's own programs run the core suites a second time.
packages=(cmake ninja-build ccache g++ pkg-config
          qt6-base-dev libqt6sql6-sqlite libgl-dev libgtest-dev libkainjow-mustache-dev
          libsqlite3-dev libsodium-dev libfreexl-dev liborcus-dev libxlsxwriter-dev sqlite3
          libpq-dev libqt6sql6-psql postgresql postgresql-client
          fonts-dejavu-core fonts-noto-core)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y --no-install-recommends "${missing[@]}"
fi

cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build --parallel 2
