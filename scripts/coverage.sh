#!/usr/bin/env -S LC_ALL=C.UTF-8 /bin/bash
# shellcheck shell=bash
# Usage: scripts/coverage.sh
# Builds what needs no Windows for this machine with gcov's counters, runs its tests and prints, for each source of
# the rooms, how many lines they run and which they don't. The last line is the sum. docs/reliability.md explains the
# lines that are left.
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/common.sh"
# shellcheck source=scripts/setup.sh
source "$ROOT/scripts/setup.sh"

COVERAGE=$BUILD/coverage

measure() {
    local program
    rm -rf "$COVERAGE/gcov"
    mkdir -p "$COVERAGE/gcov"
    find "$COVERAGE" -name '*.gcda' -delete
    while IFS=$'\t' read -r program _; do
        [[ -z $program ]] || "$program" --gtest_brief=1
    done <"$COVERAGE/tests.txt"
    cd "$COVERAGE/gcov"
    find "$COVERAGE" -name '*.gcda' -not -path '*/googletest/*' -exec gcov-12 --json-format --hash-filenames {} +
}

SHOW_LOGS=yes
install_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}" gcc
step build-coverage "building with counters" build_preset coverage
step coverage "running the tests" measure
/usr/bin/python3 -B -s "$ROOT/scripts/coverage.py" "$ROOT" "$COVERAGE/gcov"
