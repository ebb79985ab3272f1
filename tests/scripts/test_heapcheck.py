"""A suite that damages a heap fails, in both bitnesses, by the sessions and the check that all suites have."""

import os

import pytest
from conftest import ROOT, bash

# Runs the test $2 of a program built for $1 as ./test runs a suite, and prints the numbers of passed and failed tests.
RUN_SUITE = """
source "$ROOT/scripts/common.sh"
for part in setup paths suites; do source "$ROOT/scripts/$part.sh"; done
export GTEST_FILTER="Heap.$2"
log=$3/log status=0
run_suite windows "$BUILD/$1/tests/heap_damage.exe" 1 "$log" || status=$?
count_suite windows "$status" "$log"
"""


def counts(preset, test, folder):
    result = bash(RUN_SUITE, preset, test, folder, env=dict(os.environ, ROOT=str(ROOT)))
    return result.stdout.strip()


@pytest.mark.parametrize("preset", ["x64", "x86"])
@pytest.mark.parametrize(
    "test",
    [
        "IsWrittenPastMemoryThatStays",
        "IsWrittenPastMemoryThatIsReleased",
        "IsWrittenPastMemoryThatIsResized",
        "IsWrittenPastAnObject",
        "IsWrittenAheadOfMemory",
        "IsWrittenToAfterTheRelease",
        "IsGivenMemoryTwice",
    ],
)
def test_damage_fails_a_suite(preset, test, tmp_path):
    assert counts(preset, test, tmp_path) == "0 1"
    assert "Memory was damaged" in (tmp_path / "log").read_text()


@pytest.mark.parametrize("preset", ["x64", "x86"])
def test_a_suite_that_does_no_damage_passes(preset, tmp_path):
    assert counts(preset, "StaysWhole", tmp_path) == "1 0"
