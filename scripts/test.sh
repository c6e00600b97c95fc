#!/usr/bin/env bash
# Builds everything and runs every test. --sanitize does the same under
# AddressSanitizer and UndefinedBehaviorSanitizer in build-sanitize/, --tsan
# under ThreadSanitizer in build-tsan/. --threaded runs only the tests whose
# code under test runs on threads of its own (net server, net link, soak,
# logger), the part worth the thread checker's time.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build_args=()
only=()
for arg in "$@"; do
    if [ "$arg" = --threaded ]; then
        only=(-R '^(test_netserver.*|netserver_stop_threads|harvel_client|test_path_fence|test_zyn_net_link|test_siemens_harvel_net|test_abandoned_message|test_result_soak|test_net_load|test_logger_.*)$')
    else
        build_args+=("$arg")
    fi
done
bash "$root/scripts/build.sh" "${build_args[@]}"
dir="$root/build"
for arg in "$@"; do
    [ "$arg" = --sanitize ] && dir="$root/build-sanitize"
    [ "$arg" = --tsan ] && dir="$root/build-tsan"
done

export ASAN_OPTIONS="detect_leaks=1:fast_unwind_on_malloc=0:strict_string_checks=1:detect_stack_use_after_return=1"
export LSAN_OPTIONS="suppressions=$root/scripts/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
# A report fails the test (exit code 66) instead of scrolling by.
export TSAN_OPTIONS="suppressions=$root/scripts/tsan.supp:ignore_noninstrumented_modules=1:exitcode=66:halt_on_error=0:second_deadlock_stack=1:history_size=4"
jobs=$(nproc 2>/dev/null || echo 2)
cd "$dir"
ctest --output-on-failure -j "$jobs" "${only[@]}"
