#!/usr/bin/env bash
# Installs every Debian package the project needs. Safe to run again:
# apt-get skips what is there already.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
mapfile -t pkgs < <(grep -v -E '^\s*(#|$)' "$here/packages.txt")

missing=()
for p in "${pkgs[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
    echo "setup: all ${#pkgs[@]} packages present"
    exit 0
fi

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
echo "setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -q
$sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
