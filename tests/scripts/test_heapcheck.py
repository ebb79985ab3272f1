"""A suite that damages a heap fails in both bitnesses. The sessions and the check are those of all suites."""

import pytest
from conftest import ROOT
from execution import Places, Runner
from reports import Counts
from suites import Kind, Suite


@pytest.fixture
def outcome(tmp_path, monkeypatch):
    """Runs one test of a program built for a preset as ./test runs a suite."""

    def run(preset, test):
        monkeypatch.setenv("GTEST_FILTER", "Heap." + test)
        program = ROOT / "build" / preset / "tests" / "heap_damage.exe"
        places = Places(ROOT, tmp_path, ROOT / "build" / "stage", ROOT / "build" / "samples")
        return Runner(places).run(Suite(preset + "/heap_damage", Kind.WINDOWS, program, None), 1)

    return run


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
def test_damage_fails_a_suite(preset, test, outcome):
    done = outcome(preset, test)
    assert done.counts == Counts(0, 1)
    assert "Memory was damaged" in done.log.read_text()


@pytest.mark.parametrize("preset", ["x64", "x86"])
def test_a_suite_that_does_no_damage_passes(preset, outcome):
    assert outcome(preset, "StaysWhole").counts == Counts(1, 0)
