"""The table of ./bench says which rows missed their aims, and which of those are guarded."""

import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "benchmarks"))

import table  # noqa: E402


@pytest.fixture
def judged(monkeypatch):
    monkeypatch.setattr(table, "GUARDED", ("guarded; *",))
    return table.Table(judges=True)


def test_a_row_has_both_figures_their_ratio_and_its_aim(judged):
    judged.add("some; other", "ms", 1234.5, 1000, at_most=1.25)
    assert judged.rows == [["some; other", "1,234 ms", "1,000 ms", "1.23", "at most 1.25"]]
    assert (judged.missed, judged.guarded_missed) == (0, 0)


@pytest.mark.parametrize("aim", [{"at_most": 1.2}, {"at_least": 1.3}])
def test_a_row_that_misses_its_aim_says_so(judged, aim):
    judged.add("some; other", "ms", 1.25, 1, **aim)
    assert judged.rows[0][-1].endswith(", missed")
    assert (judged.missed, judged.guarded_missed) == (1, 0)


def test_a_guarded_row_that_misses_its_aim_counts_twice(judged):
    judged.add("guarded; other", "ms", 1.25, 1, at_most=1.2)
    assert judged.rows[0][-1] == "at most 1.2, guarded, missed"
    assert (judged.missed, judged.guarded_missed) == (1, 1)


def test_a_guarded_row_that_reaches_its_aim_is_marked(judged):
    judged.add("guarded; other", "ms", 1.1, 1, at_most=1.2)
    assert judged.rows[0][-1] == "at most 1.2, guarded"


def test_a_row_without_an_aim_can_not_miss(judged):
    judged.add("guarded; other", "ms", 9, 1)
    assert judged.rows[0][-1] == "-" and judged.missed == 0


def test_tiny_figures_are_not_judged(monkeypatch):
    monkeypatch.setattr(table, "GUARDED", ("*",))
    tiny = table.Table(judges=False)
    tiny.add("some; other", "ms", 9, 1, at_most=1)
    assert (tiny.rows[0][-1], tiny.missed, tiny.guarded_missed) == ("at most 1, guarded", 0, 0)


def test_the_text_has_columns_of_one_width(judged):
    judged.add("a", "ms", 1, 1)
    judged.add("a longer name", "ms", 100, 1)
    assert len({len(line) for line in judged.text().splitlines()}) == 1
