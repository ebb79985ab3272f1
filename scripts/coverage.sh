#!/usr/bin/env -S LC_ALL=C.UTF-8 /bin/bash
# shellcheck shell=bash
# Usage: scripts/coverage.sh
# Builds everything with gcov's counters, for this machine and for both bitnesses of Windows, runs the tests and
# prints, for each source of the rooms, how many lines they run and which they don't. The last lines are the sums.
# docs/reliability.md explains the lines that are left.
set -euo pipefail
self=$(readlink -f -- "${BASH_SOURCE[0]}")
# shellcheck source=scripts/common.sh
source "${self%/*}/common.sh"
# shellcheck source=scripts/setup.sh
source "$ROOT/scripts/setup.sh"

COVERAGE=$BUILD/coverage
PRESETS=(coverage-native coverage-x64 coverage-x86)

# What the suites run, in place of the usual builds, program and samples.
STAGE=$COVERAGE/stage
RUNNER=(/usr/bin/python3 -B -s "$ROOT/scripts/runner/runsuites.py" --stage "$STAGE" --samples "$COVERAGE/samples")
for preset in "${PRESETS[@]}"; do RUNNER+=(--preset "$preset"); done

KEYREAP_PROGRAMS=$BUILD/coverage-x64/tests
export KEYREAP_PROGRAMS

unset DISPLAY WAYLAND_DISPLAY

build() {
    local preset
    for preset in "${PRESETS[@]}"; do
        step "build-$preset" "building $preset" build_preset "$preset"
        find "$BUILD/$preset" -name '*.gcda' -delete
    done
    step coverage-stage "staging the program" install_builds "$STAGE" coverage-x64 coverage-x86
}

# run_suites WORD...: as for ./test. The lines that a failing suite runs count too.
run_suites() {
    local status=0
    "${RUNNER[@]}" -- "$@" >&2 || status=$?
    ((status <= 1)) || exit "$status"
}

# run_all: the suites that are programs, and the one that starts a display.
run_all() {
    run_suites coverage-native
    # The counters' files have absolute names of this machine's file system.
    GCOV_PREFIX=Z: run_suites coverage-x64 coverage-x86 dialog/dialog
}

# collect PRESET: each compiler has its own gcov.
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
install_packages "${WINE_PACKAGES[@]}" "${BUILD_PACKAGES[@]}" "${HEADER_PACKAGES[@]}" "${TEST_PACKAGES[@]}" gcc
set_up wine
build
say "running the tests"
run_all
rm -rf "$COVERAGE/gcov"
for preset in "${PRESETS[@]}"; do step "$preset" "reading the counters of $preset" collect "$preset"; done
/usr/bin/python3 -B -s "$ROOT/scripts/coverage.py" "$ROOT" "$COVERAGE/gcov"
