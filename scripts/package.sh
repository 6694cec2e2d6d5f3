#!/usr/bin/env bash
# Builds the Debian package of Tallywright from build/ (made by scripts/bootstrap.sh) and lists
# what it holds. The package lands in build/ as tallywright_<version>_<arch>.deb.
set -euo pipefail
cd "$(dirname "$0")/.."

# dpkg-shlibdeps works out the libraries the package depends on.
if ! dpkg-query -W -f='${Status}' dpkg-dev 2>/dev/null | grep -q "install ok installed"; then
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y --no-install-recommends dpkg-dev
fi

cmake --build build --parallel 2
(cd build && cpack -G DEB >/dev/null)
deb=$(ls build/tallywright_*.deb | head -n 1)
echo "Package: $deb"
dpkg-deb --info "$deb" | grep -E '^ (Package|Version|Depends):'
dpkg-deb --contents "$deb"
