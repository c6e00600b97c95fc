#!/usr/bin/env bash
# Builds everything. With --sanitize the build goes to build-sanitize/ with
# AddressSanitizer and UndefinedBehaviorSanitizer, with --tsan to build-tsan/
# with ThreadSanitizer; otherwise to build/.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
sanitize=OFF
tsan=OFF
dir="$root/build"
for arg in "$@"; do
    case "$arg" in
        --sanitize) sanitize=ON; dir="$root/build-sanitize" ;;
        --tsan) tsan=ON; dir="$root/build-tsan" ;;
        *) echo "build.sh: unknown option $arg" >&2; exit 2 ;;
    esac
done

bash "$root/scripts/setup.sh"
jobs=$(nproc 2>/dev/null || echo 2)
# ccache, where a developer has it, lets several work trees share one cache.
launcher=()
command -v ccache >/dev/null 2>&1 && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
cmake -S "$root" -B "$dir" -G Ninja -DHARVEL_SANITIZE=$sanitize -DHARVEL_TSAN=$tsan "${launcher[@]}" >/dev/null
cmake --build "$dir" -j "$jobs"
