#!/usr/bin/env bash
# Builds everything and starts the virtual machine: harvel-hmi with the
# plug-in installed into a demo machine folder (demo/machine by default,
# HARVEL_MACHINE to choose another), its net server enabled on
# 127.0.0.1:8510. Extra arguments go to harvel-hmi.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/build.sh"
machine=${HARVEL_MACHINE:-$root/demo/machine}
hmi="$root/build/bin/harvel-hmi"

if [ ! -x "$hmi" ]; then
    echo "run.sh: built. harvel-hmi, the virtual operator interface, is not part of this build yet;"
    echo "run.sh: once it is, this command installs the plug-in into $machine and starts it there."
    exit 0
fi

if [ -x "$root/scripts/install.sh" ]; then
    bash "$root/scripts/install.sh" --net-server 127.0.0.1:8510 "$machine"
fi
extra=()
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
    echo "run.sh: no display found, starting headless; drive it with build/bin/harvel-ctl --machine $machine"
    extra+=(--headless)
fi
exec "$hmi" --machine "$machine" "${extra[@]}" "$@"
