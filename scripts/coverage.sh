#!/usr/bin/env -S LC_ALL=C.UTF-8 /bin/bash
# shellcheck shell=bash
# Usage: scripts/coverage.sh
# Builds everything with gcov's counters, for this machine and for both bitnesses of Windows, runs the tests and
# prints, for each source of the rooms, how many lines they run and which they don't. The last lines are the sums.
# docs/reliability.md explains the lines that are left.
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/common.sh"
for part in setup paths suites; do
    # shellcheck source=/dev/null
    source "$ROOT/scripts/$part.sh"
done

COVERAGE=$BUILD/coverage
PRESETS=(coverage-native coverage-x64 coverage-x86)
# shellcheck disable=SC2034 # what the suites run, in place of the usual program and samples
STAGE=$COVERAGE/stage SAMPLES=$COVERAGE/samples

KEYREAP_PROGRAMS=$BUILD/coverage-x64/tests
export KEYREAP_PROGRAMS

unset DISPLAY WAYLAND_DISPLAY

build() {
    local preset
    for preset in "${PRESETS[@]}"; do
        step "build-$preset" "building $preset" build_preset "$preset"
        find "$BUILD/$preset" -name '*.gcda' -delete
    done
    step coverage-stage "staging the program" stage
}

stage() {
    rm -rf "$STAGE"
    cmake --install "$BUILD/coverage-x64" --prefix "$STAGE"
    cmake --install "$BUILD/coverage-x86" --prefix "$STAGE"
}

# run_counted NAME KIND FILE: one line if it failed; its lines are counted all the same.
run_counted() {
    local status=0 log=$COVERAGE/logs/$1.log counts
    mkdir -p "${log%/*}"
    # The names of the counters' files begin at the top of this machine's file system.
    [[ $2 == native ]] || export GCOV_PREFIX=Z:
    run_suite "$2" "$3" "$SAMPLE_STEP" "$log" || status=$?
    counts=$(count_suite "$2" "$status" "$log")
    [[ $counts == *' 0' ]] || say "$1: ${counts#* } failed; see $log"
}

# counted_suites: those of ./test that are programs, and the one that gives windows a display.
counted_suites() {
    local preset
    for preset in "${PRESETS[@]}"; do program_suites "$preset"; done
    suite_line dialog/dialog pytest "$ROOT/tests/dialog/test_dialog.py" dialog
}

run_all() {
    local name kind file
    while IFS=$'\t' read -r name kind file _; do
        # What is done with a mouse has the machine to itself.
        [[ $kind != pytest ]] || wait
        while (($(jobs -rp | wc -l) >= $(nproc))); do wait -n || true; done
        run_counted "$name" "$kind" "$file" &
    done < <(counted_suites)
    wait
}

# collect PRESET: the reader of the counters belongs to the compiler.
collect() {
    local preset=$1 reader
    case $preset in
    coverage-native) reader=gcov-12 ;;
    coverage-x64) reader=x86_64-w64-mingw32-gcov-posix ;;
    coverage-x86) reader=i686-w64-mingw32-gcov-posix ;;
    esac
    mkdir -p "$COVERAGE/gcov/$preset"
    cd "$COVERAGE/gcov/$preset"
    find "$BUILD/$preset" -name '*.gcda' -exec "$reader" --json-format --hash-filenames {} +
}

SHOW_LOGS=yes
install_packages "${WINE_PACKAGES[@]}" "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}" gcc
set_up wine
build
say "running the tests"
run_all
rm -rf "$COVERAGE/gcov"
for preset in "${PRESETS[@]}"; do step "$preset" "reading the counters of $preset" collect "$preset"; done
/usr/bin/python3 -B -s "$ROOT/scripts/coverage.py" "$ROOT" "$COVERAGE/gcov"
