#!/usr/bin/env bash
# Builds and tests everything. Installs what it needs from Debian's packages.
#
#   ./test.sh               all tests
#   ./test.sh --qt6         all tests on Qt 6, after compiling what plugins and hosts are made of against a newer Qt 6
#   ./test.sh --windows     the tests of the cross build for 64-bit Windows, under Wine
#   ./test.sh --asan        all tests under the address and undefined behaviour sanitizers
#   ./test.sh --tsan        the threaded tests under the thread sanitizer
#   ./test.sh --fuzz [S]    every fuzzer for S seconds (30)
#   ./test.sh --mutate [N] [SEED]   every kind of file of an installed suite, damaged N times (500)
#   ./test.sh --bench [--qt6]   the benchmarks: a table of ratios, then one GOAL line for each goal
#
# Qt for Windows: ../shared/qt5-win64.tar.xz, else the tree that QT_WIN64 names.
# The folder of the JSON documents that the benchmarks read: NORVALE_BENCH_DATA, else ../shared/bench-data.
set -euo pipefail
. "$(dirname "$0")/.ci/setup.sh"

# run_tests PRESET [CTEST ARGUMENT...]: the closing line is 'N passed, N failed'.
run_tests() {
    local preset=$1 report="$root/build/$1.tests" status=0 total failed
    shift
    ctest --test-dir "$root/build/$preset" --output-on-failure -j "$jobs" "$@" | tee "$report" || status=$?
    total=$(sed -nE 's/^.* tests failed out of ([0-9]+)$/\1/p; s/^No tests were found.*$/0/p' "$report" | tail -n 1)
    failed=$(sed -nE 's/^.*, ([0-9]+) tests failed out of .*$/\1/p' "$report" | tail -n 1)
    echo "$((${total:-0} - ${failed:-0})) passed, ${failed:-0} failed"
    [ "$status" = 0 ] && [ "${total:-0}" -gt 0 ]
}

# Compiles the library, and what plugins and hosts are made of, against a newer Qt 6, where that can be had.
check_newer_qt() {
    local folder="$root/build/newer-qt6-root" log="$root/build/newer-qt6-root.log"
    mkdir -p "$root/build"
    if "$root/.ci/make-newer-qt-root" "$folder" >"$log" 2>&1; then
        build newer-qt6
        grep -m 1 -o 'Compiling against Qt .*' "$root/build/newer-qt6.log" | sed 's/Compiling/Compiled/'
    else
        echo "Not compiled against a newer Qt, of which only services.tst_cServiceMgr has doubles:" \
            "$(grep -m 1 '^[EW]:' "$log" || tail -n 1 "$log") ($log)"
    fi
}

run_fuzzers() {
    local seconds=$1 passed=0 failed=0 fuzzer name work
    for fuzzer in "$root"/build/fuzz/fuzz/fuzz_*; do
        [ -f "$fuzzer" ] && [ -x "$fuzzer" ] || continue
        name=${fuzzer##*/fuzz_}
        work="$root/build/fuzz/findings/$name"
        mkdir -p "$work/corpus"
        echo "fuzz_$name: $seconds seconds"
        if (cd "$work" && "$fuzzer" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 -print_final_stats=1 -verbosity=0 \
            corpus "$root/fuzz/$name/corpus" >run.log 2>&1); then
            sed -nE 's/^stat::number_of_executed_units: +([0-9]+)$/  \1 inputs, no finding/p' "$work/run.log"
            passed=$((passed + 1))
        else
            tail -n 60 "$work/run.log"
            echo "  a finding: see $work"
            failed=$((failed + 1))
        fi
    done
    echo "$passed passed, $failed failed"
    [ "$failed" = 0 ] && [ "$passed" -gt 0 ]
}

run_benches() {
    local out="$root/build/$1.out" bench
    : >"$out"
    for bench in "$root/build/$1"/bench/*/bench_*; do
        [ -f "$bench" ] && [ -x "$bench" ] || continue
        echo "== ${bench##*/}"
        (unset TZ; "$bench") 2>&1 | tee -a "$out"
    done
    echo
    echo "| goal | measured | asked for | |"
    echo "|---|---|---|---|"
    sed -nE 's/^GOAL ([^ ]+) ([^ ]+) ([^ ]+) (held|short)$/| \1 | \2 | \3 | \4 |/p' "$out"
    echo
    grep '^GOAL ' "$out"
}

case "${1:-}" in
"")
    # Of Qt 6 a few tests need that it is there, too.
    # shellcheck disable=SC2086
    need $packages_build $packages_test $packages_qt6
    build dev
    run_tests dev
    ;;
--qt6)
    # shellcheck disable=SC2086
    need $packages_build $packages_test $packages_qt6
    build qt6
    check_newer_qt
    run_tests qt6
    ;;
--windows)
    build_for_windows windows
    # What of it has settings runs in the two that the tests name.
    for number in 2 1; do
        export RUN_UNDER_WINE_PREFIX="$root/build/windows/wine$number"
        "$root/cmake/windows/run-under-wine" --init
    done
    trap 'for p in "$root"/build/windows/wine[12]; do RUN_UNDER_WINE_PREFIX=$p "$root/cmake/windows/run-under-wine" --stop; done' EXIT
    # On a busy machine Wine refuses one of some thousand starts, or ends a test in its own thread pool; what fails is shown,
    # and counts when it fails three times.
    run_tests windows -LE house --repeat until-pass:3
    ;;
--asan)
    # shellcheck disable=SC2086
    need $packages_build $packages_test
    build asan
    export ASAN_OPTIONS=detect_leaks=1:abort_on_error=0:detect_stack_use_after_return=1
    export UBSAN_OPTIONS=print_stacktrace=1
    export LSAN_OPTIONS=suppressions="$root/tests/support/lsan.supp":print_suppressions=0
    run_tests asan -LE house
    ;;
--tsan)
    # shellcheck disable=SC2086
    need $packages_build $packages_test
    targets=threaded_tests build tsan
    # Qt is not built with the sanitizer: tests/support/QtLockAnnotations.cpp tells it about Qt's locks.
    export TSAN_OPTIONS=suppressions="$root/tests/support/tsan.supp":ignore_noninstrumented_modules=1:second_deadlock_stack=1
    run_tests tsan -L threads
    ;;
--fuzz)
    # shellcheck disable=SC2086
    need $packages_build $packages_fuzz
    build fuzz
    run_fuzzers "${2:-30}"
    ;;
--mutate)
    # shellcheck disable=SC2086
    need $packages_build $packages_test
    targets=tst_Mutations build dev
    NORVALE_COUNT=${2:-500} NORVALE_SEED=${3:-1} QT_QPA_PLATFORM=offscreen LC_ALL=C.UTF-8 \
        "$root/build/dev/tests/suite/tst_Mutations"
    ;;
--bench)
    data=${NORVALE_BENCH_DATA:-$root/../shared/bench-data}
    [ -d "$data" ] || { echo "No folder $data: name that of the JSON documents in NORVALE_BENCH_DATA" >&2; exit 2; }
    preset=bench quazip=libquazip5-dev
    [ "${2:-}" != --qt6 ] || { preset=bench-qt6 quazip="libquazip1-qt6-dev $packages_qt6"; }
    # shellcheck disable=SC2086
    need $packages_build $packages_bench $quazip
    build $preset -DNORVALE_BENCH_DATA="$(cd "$data" && pwd)"
    run_benches $preset
    ;;
*)
    sed -nE 's/^# ?//p' "$0" | sed 1d
    [ "$1" = --help ] || exit 2
    ;;
esac
