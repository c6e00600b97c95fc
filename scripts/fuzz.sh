#!/usr/bin/env bash
# Builds the fuzz targets of tests/fuzz with clang, libFuzzer, ASan and
# UBSan into build-fuzz/ and runs them, each from its seed corpus.
#   scripts/fuzz.sh [--runs N] [--jobs J] [TARGET...]
# --runs N   runs per target (default 10000000); every target by default.
# A finding stops that target, leaves the input as build-fuzz/findings/
# crash-* and makes the script fail; one summary line per target.
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
runs=10000000
targets=()
while [ $# -gt 0 ]; do
    case "$1" in
        --runs) runs="$2"; shift 2 ;;
        --runs=*) runs="${1#--runs=}"; shift ;;
        -h|--help) sed -n '2,8p' "$0"; exit 0 ;;
        -*) echo "fuzz.sh: unknown option $1" >&2; exit 2 ;;
        *) targets+=("$1"); shift ;;
    esac
done

bash "$root/scripts/setup.sh" >/dev/null || exit 2
dir="$root/build-fuzz"
launcher=()
command -v ccache >/dev/null 2>&1 && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
cmake -S "$root" -B "$dir" -G Ninja -DHARVEL_FUZZ=ON -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ "${launcher[@]}" >/dev/null || exit 2
cmake --build "$dir" -j "$(nproc 2>/dev/null || echo 2)" >"$dir/build.log" 2>&1 \
    || { tail -40 "$dir/build.log"; echo "fuzz.sh: build failed" >&2; exit 2; }

[ ${#targets[@]} -gt 0 ] || read -r -a targets < <(tr ';' ' ' <"$dir/fuzz_targets.txt")
export ASAN_OPTIONS="detect_leaks=1:allocator_may_return_null=1"
export LSAN_OPTIONS="suppressions=$root/scripts/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export QT_QPA_PLATFORM=offscreen
mkdir -p "$dir/findings" "$dir/corpus"
failed=0
for t in "${targets[@]}"; do
    bin="$dir/bin/fuzz_$t"
    seeds="$root/tests/fuzz/corpus/$t"
    [ -x "$bin" ] || { echo "fuzz $t: no such target" >&2; failed=1; continue; }
    # New inputs go to a corpus in the build tree; the seeds stay as checked in.
    work="$dir/corpus/$t"
    mkdir -p "$work"
    log="$dir/fuzz_$t.log"
    start=$(date +%s)
    "$bin" -runs="$runs" -max_len=4096 -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
        -artifact_prefix="$dir/findings/$t-" "$work" "$seeds" >"$log" 2>&1
    rc=$?
    secs=$(( $(date +%s) - start ))
    done_runs=$(grep -E '^stat::number_of_executed_units:' "$log" | awk '{print $2}')
    cov=$(grep -oE 'cov: [0-9]+' "$log" | tail -1 | awk '{print $2}')
    if [ $rc -eq 0 ]; then
        echo "fuzz $t: ${done_runs:-?} runs in ${secs} s, coverage ${cov:-?}, no finding"
    else
        failed=1
        echo "fuzz $t: FINDING after ${done_runs:-?} runs (exit $rc); input in $dir/findings/, log $log"
        grep -E 'ERROR|FUZZ CHECK|runtime error|SUMMARY' "$log" | head -5
    fi
done
exit $failed
