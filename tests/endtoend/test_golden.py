"""The golden files in the repository are byte for byte what make_golden.py generates."""

import pathlib
import sys

import pytest

GOLDEN = pathlib.Path(__file__).parent / "golden"
sys.path.insert(0, str(GOLDEN))

from make_golden import golden_files  # noqa: E402

FILES = golden_files()


@pytest.mark.parametrize("name", sorted(FILES))
def test_committed_file_equals_the_generated_one(name):
    assert (GOLDEN / name).read_bytes() == FILES[name]


def test_every_golden_file_is_generated():
    assert {path.name for path in GOLDEN.glob("*.reg")} == set(FILES)
