#!/usr/bin/env bash
# Builds everything and runs every benchmark under bench/; each prints its
# own figures. --quick runs them at a smaller size.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/build.sh"
export HARVEL_BENCH_QUICK=0
for arg in "$@"; do [ "$arg" = --quick ] && export HARVEL_BENCH_QUICK=1; done
status=0
for b in "$root"/build/bin/bench_*; do
    [ -x "$b" ] || continue
    echo "== $(basename "$b") =="
    QT_QPA_PLATFORM=offscreen "$b" || status=1
done
exit $status
