"""./test: which suites it runs, and how it counts them."""

import os
import re
import signal
import subprocess

import pytest
from conftest import ROOT, bash, processes_of, run, until

SOURCE = 'ROOT="%s"; source "$ROOT/scripts/suites.sh"; ' % ROOT


def count(kind, status, output, tmp_path):
    log = tmp_path / "log"
    log.write_text(output)
    return bash(SOURCE + 'count_suite "$1" "$2" "$3"', kind, status, log).stdout.strip()


GOOD = "[       OK ] A.B (0 ms)\r\n[       OK ] A.C/1 (2 ms)\r\n[==========] 2 tests from 1 test suite ran. (3 ms total)\r\n"
FAILURE = "[  FAILED  ] A.D/0, where GetParam() = 7 (0 ms)\n"
SUMMARY = "[  FAILED  ] 1 test, listed below:\n[  FAILED  ] A.D/0, where GetParam() = 7\n"


@pytest.mark.parametrize(
    "status, output, expected",
    [
        (0, GOOD, "2 0"),
        (1, FAILURE + GOOD + SUMMARY, "2 1"),
        (3, GOOD, "2 1"),
        (3, "[       OK ] A.B (0 ms)\n", "1 1"),
        (0, "[       OK ] A.B (0 ms)\n", "1 1"),
        (0, "", "0 1"),
        (0, "[==========] 0 tests from 0 test suites ran. (0 ms total)\n", "0 1"),
        (0, "[  SKIPPED ] A.D (0 ms)\n" + GOOD, "2 1"),
        (124, FAILURE, "0 2"),
    ],
)
def test_programs_are_counted_by_their_lines(status, output, expected, tmp_path):
    assert count("windows", status, output, tmp_path) == expected
    assert count("native", status, output, tmp_path) == expected


@pytest.mark.parametrize(
    "status, output, expected",
    [
        (0, "....\n4 passed in 0.10s\n", "4 0"),
        (1, "F.\n1 failed, 3 passed, 2 warnings in 0.10s\n", "3 1"),
        (1, "1 failed, 3 passed, 2 errors in 70.12s (0:01:10)\n", "3 3"),
        (0, "3 passed, 1 skipped, 1 xfailed in 0.10s\n", "3 2"),
        (5, "no tests ran in 0.01s\n", "0 1"),
        (2, "1 error in 0.10s\n", "0 1"),
        (124, "....", "0 1"),
        (0, "", "0 1"),
    ],
)
def test_pytest_is_counted_by_its_last_line(status, output, expected, tmp_path):
    assert count("pytest", status, output, tmp_path) == expected


@pytest.mark.parametrize("word", ["x64/unit_core", "x64", "unit_core"])
def test_a_word_chooses_by_the_whole_name_or_either_part(word):
    assert bash(SOURCE + 'suite_chosen x64/unit_core - other "$1"', word).returncode == 0


def test_the_word_of_its_whole_run_chooses_a_suite():
    assert bash(SOURCE + "suite_chosen x64/unit_core many other many").returncode == 0


def test_other_words_do_not_choose():
    assert bash(SOURCE + "suite_chosen x64/unit_core many x6 unit native/unit_core").returncode == 1


def test_without_words_all_are_chosen():
    assert bash(SOURCE + "suite_chosen x64/unit_core -").returncode == 0


def test_a_whole_run_may_take_longer():
    limits = bash(SOURCE + "for step in 10 1; do suite_limit windows $step; echo; done").stdout.split()
    assert int(limits[0]) < int(limits[1])


def outcome(result):
    """The names of the suites and the last line."""
    lines = result.stdout.splitlines()
    names = [line.split()[:2] for line in lines if re.match("(ok|FAIL) ", line)]
    return names, lines[-1]


def test_the_sum_is_the_last_line_and_the_status_tells_of_failures(ready_tree):
    result = run(ready_tree.folder / "test", "suite_good")
    presets = ["x64", "x86", "native", "native-sanitized"]
    assert outcome(result) == ([["ok", preset + "/suite_good"] for preset in presets], "4 passed, 0 failed")
    assert result.returncode == 0


def test_only_the_word_of_its_whole_run_leads_a_suite_through_all_its_cases(ready_tree):
    assert outcome(run(ready_tree.folder / "test", "everything"))[1] == "8 passed, 0 failed"
    assert outcome(run(ready_tree.folder / "test", "native/suite_good"))[1] == "1 passed, 0 failed"


def test_what_a_suite_reports_is_shown_behind_its_line(ready_tree):
    lines = run(ready_tree.folder / "test", "native/suite_good", "everything").stdout.splitlines()
    line = next(number for number, line in enumerate(lines) if " native/suite_good " in line)
    assert lines[line + 1] == "all cases seen"


def test_failures_crashes_and_silence_fail_and_show_their_output(ready_tree):
    result = run(ready_tree.folder / "test", "x64", "native")
    names, last = outcome(result)
    assert [state for state, _ in names] == ["ok", "FAIL", "FAIL", "FAIL"] * 2
    assert last == "6 passed, 6 failed"
    assert "    [  FAILED  ] Rule.IsBroken (0 ms)" in result.stdout
    assert result.returncode == 1


def hanging(**variables):
    return dict(os.environ, KEYREAP_HANG="yes", **variables)


def test_a_suite_that_hangs_is_ended_by_the_watchdog(ready_tree):
    result = run(ready_tree.folder / "test", "x64/suite_good", env=hanging(KEYREAP_SUITE_LIMIT="3"))
    assert outcome(result) == ([["FAIL", "x64/suite_good"]], "0 passed, 1 failed")
    assert "ended by the watchdog after 3 s" in result.stdout


def test_an_interrupt_ends_the_suites_that_run(ready_tree):
    prefix = ready_tree.build / "wine" / "pool" / "1"
    tests = subprocess.Popen(
        [ready_tree.folder / "test", "x64/suite_good"], env=hanging(), stdin=subprocess.DEVNULL, start_new_session=True
    )
    until(lambda: len(processes_of(prefix)) > 3)
    os.killpg(tests.pid, signal.SIGINT)
    assert tests.wait() == 130
    assert processes_of(prefix) == []
    assert list(ready_tree.build.glob("share.*")) == list(ready_tree.build.glob("test.*")) == []


def test_an_unknown_name_is_told(ready_tree):
    result = run(ready_tree.folder / "test", "nonsense")
    assert result.returncode == 125
    assert "no suite is called nonsense" in result.stderr
