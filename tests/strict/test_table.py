"""The table of what differs at a strict host, tests/endtoend/strict.txt: each line is for tests that exist, by a rule of the
table that is used."""

import re
from fnmatch import fnmatchcase
from pathlib import Path

import pytest

ENDTOEND = Path(__file__).resolve().parents[1] / "endtoend"

LINES = (ENDTOEND / "strict.txt").read_text(encoding="utf-8").splitlines()
RULES = [line[len("rule ") :].split(":")[0] for line in LINES if line.startswith("rule ")]
ROWS = [line.split("  ") for line in LINES if line and not line.startswith(("#", " ", "rule "))]

DECLARED = re.compile(r"^TEST_[PF]\((\w+), (\w+)\)", re.M)
ROUTES = re.findall(r'^    {"(\w+)", Bitness::x\d\d, Bitness::x\d\d},$', (ENDTOEND / "harness" / "workbench.h").read_text(), re.M)
TESTS = [".".join(found) for file in ENDTOEND.glob("*_test.cpp") for found in DECLARED.findall(file.read_text())]


@pytest.mark.parametrize("pattern", sorted({pattern for row in ROWS for pattern in row[0].split(",")}))
def test_a_pattern_is_that_of_a_test(pattern):
    name = pattern.removeprefix("-").split("/")[0]
    assert any(fnmatchcase(test, name) for test in TESTS)


@pytest.mark.parametrize("pattern", sorted({part for row in ROWS for part in row[0].split(",") if "/" in part}))
def test_a_pattern_of_a_parameter_is_that_of_a_route(pattern):
    assert any(fnmatchcase(route, pattern.split("/")[1]) for route in ROUTES)


def test_a_line_has_three_parts_and_is_there_once():
    assert {len(row) for row in ROWS} == {3}
    assert len({tuple(row) for row in ROWS}) == len(ROWS)


def test_the_rules_are_those_of_the_lines():
    assert sorted(set(RULES)) == sorted(RULES)
    assert {row[1] for row in ROWS} == set(RULES)
