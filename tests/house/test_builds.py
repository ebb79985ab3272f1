"""What the whole builds make. Tests run after them, and some read files that no target of a program needs."""

import subprocess

import pytest
from project import ROOT


def inputs(preset, target):
    """The files from which a target is made."""
    words = ["ninja", "-C", ROOT / "build" / preset, "-t", "inputs", target]
    files = set(subprocess.run(words, check=True, stdout=subprocess.PIPE, text=True).stdout.splitlines())
    assert len(files) > 20
    return files


@pytest.mark.parametrize("preset", ["x64", "x86"])
@pytest.mark.parametrize("target", ["samples", "selfcheck_programs", "unit_tests"])
def test_a_whole_build_makes_all_that_tests_read(preset, target):
    missing = inputs(preset, target) - inputs(preset, "all")
    # CMake gives libraries of objects a target that no file has.
    assert [file for file in sorted(missing) if not file.endswith(".dir")] == []
