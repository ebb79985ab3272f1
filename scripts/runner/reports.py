"""How many tests of a suite passed and failed, by the report that its program wrote: GoogleTest's JSON or pytest's JUnit
XML. Both are written at the very end, so a program that crashed has none."""

import json
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path
from xml.etree import ElementTree


@dataclass(frozen=True)
class Counts:
    passed: int
    failed: int


def googletest_results(report: Path) -> Iterator[bool]:
    """Whether each test passed. A skipped one is not completed."""
    suites = json.loads(report.read_text(encoding="utf-8", errors="replace"))["testsuites"]
    for test in (test for suite in suites for test in suite["testsuite"]):
        yield test["result"] == "COMPLETED" and "failures" not in test


def pytest_results(report: Path) -> Iterator[bool]:
    """Whether each test passed. One that failed, or was skipped, says so in an element below its own."""
    for test in ElementTree.parse(report).iter("testcase"):
        yield not any(test.find(name) is not None for name in ("failure", "error", "skipped"))


def results_of(report: Path) -> list[bool]:
    """The results in a report; none if it is missing or incomplete."""
    read = pytest_results if report.suffix == ".xml" else googletest_results
    try:
        return list(read(report))
    except (OSError, ValueError, LookupError, ElementTree.ParseError):
        return []


def counts_of(results: list[bool], status: int) -> Counts:
    """A suite without results has failed, and so has one with another status than 0, whatever its results are."""
    passed = sum(results)
    failed = len(results) - passed
    return Counts(passed, failed if results and status == 0 else max(failed, 1))
