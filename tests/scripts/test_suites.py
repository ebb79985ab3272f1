"""./test: which suites it runs, and how it counts them."""

import json
import os
import re
import signal
import subprocess
import threading
from pathlib import Path

import pytest
from conftest import ROOT, processes_of, run, until
from execution import Places, Runner, limit_of
from reports import Counts, counts_of, results_of
from runsuites import outcomes_of
from suites import ALONE, LONG, Kind, Suite, all_suites, chosen_suites

UNIT = Suite("x64/unit_core", Kind.WINDOWS, Path("unit_core.exe"), None)
MANY = Suite("x64/unit_core", Kind.WINDOWS, Path("unit_core.exe"), "many")

# The parts of GoogleTest's reports that are read.
GOOD = {"name": "Holds", "status": "RUN", "result": "COMPLETED"}
BAD = GOOD | {"failures": [{"failure": "rule.cpp:7\nExpected equality of these values"}]}
SKIPPED = GOOD | {"result": "SKIPPED"}
SWITCHED_OFF = GOOD | {"status": "NOTRUN", "result": "SUPPRESSED"}


def googletest_report(*suites):
    return json.dumps({"testsuites": [{"testsuite": tests} for tests in suites]})


def counted(report, text, status):
    report.write_text(text)
    return counts_of(results_of(report), status)


@pytest.mark.parametrize(
    "status, report, expected",
    [
        (0, googletest_report([GOOD], [GOOD]), Counts(2, 0)),
        (1, googletest_report([GOOD, BAD], [GOOD]), Counts(2, 1)),
        (0, googletest_report([GOOD, BAD]), Counts(1, 1)),
        (3, googletest_report([GOOD, GOOD]), Counts(2, 1)),
        (0, googletest_report([GOOD], [SKIPPED]), Counts(1, 1)),
        (0, googletest_report([GOOD], [SWITCHED_OFF]), Counts(1, 1)),
        (0, googletest_report(), Counts(0, 1)),
        (0, googletest_report([GOOD])[:-1], Counts(0, 1)),
        (0, "", Counts(0, 1)),
        (124, googletest_report([BAD]), Counts(0, 1)),
    ],
)
def test_programs_are_counted_by_their_reports(status, report, expected, tmp_path):
    assert counted(tmp_path / "report.json", report, status) == expected


def test_a_program_without_a_report_has_failed(tmp_path):
    assert counts_of(results_of(tmp_path / "report.json"), 0) == Counts(0, 1)


@pytest.fixture
def runner(tmp_path):
    return Runner(Places(ROOT, tmp_path / "logs", ROOT / "build" / "stage", ROOT / "build" / "samples"))


@pytest.mark.parametrize(
    "source, expected",
    [
        ("def test_a(): pass\ndef test_b(): pass", Counts(2, 0)),
        ("def test_a(): pass\ndef test_b(): assert False", Counts(1, 1)),
        ("@mark.parametrize('a', [1, 2, 3])\ndef test_a(a): assert a != 2", Counts(2, 1)),
        ("@fixture\ndef a():\n  yield\n  raise OSError\ndef test_a(a): pass\ndef test_b(): pass", Counts(1, 1)),
        ("@fixture\ndef a():\n  raise OSError\ndef test_a(a): pass\ndef test_b(): pass", Counts(1, 1)),
        ("@mark.skip\ndef test_a(): pass\ndef test_b(): pass", Counts(1, 1)),
        ("@mark.xfail\ndef test_a(): assert False\ndef test_b(): pass", Counts(1, 1)),
        ("@mark.xfail\ndef test_a(): pass\ndef test_b(): pass", Counts(1, 1)),
        ("", Counts(0, 1)),
        ("This is no Python.", Counts(0, 1)),
        ("import os\ndef test_a(): pass\ndef test_b(): os._exit(0)", Counts(0, 1)),
    ],
)
def test_what_pytest_finds_is_counted(source, expected, tmp_path, runner):
    file = tmp_path / "test_it.py"
    file.write_text("from pytest import fixture, mark\n" + source)
    assert runner.run(Suite("folder/it", Kind.PYTEST, file, None), 1).counts == expected


@pytest.mark.parametrize("word", ["x64/unit_core", "x64", "unit_core"])
def test_a_word_chooses_by_the_whole_name_or_either_part(word):
    assert chosen_suites([UNIT], ["other", word]) == [UNIT]


def test_the_word_of_its_whole_run_chooses_a_suite():
    assert chosen_suites([UNIT, MANY], ["other", "many"]) == [MANY]


def test_other_words_do_not_choose():
    assert chosen_suites([UNIT, MANY], ["x6", "unit", "native/unit_core", "-", ""]) == []


def test_without_words_all_are_chosen():
    assert chosen_suites([UNIT, MANY], []) == [UNIT, MANY]


SECOND = [
    Suite("clang-x64/unit_core", Kind.WINDOWS, Path("unit_core.exe"), None),
    Suite("clang-x64/endtoend", Kind.WINDOWS, Path("endtoend.exe"), "many"),
    Suite("clang-x86/unit_core", Kind.WINDOWS, Path("unit_core.exe"), None),
]


@pytest.mark.parametrize(
    "words, chosen",
    [
        ([], SECOND[:1]),
        (["unit_core"], SECOND[:1]),
        (["many"], []),
        (["compilers"], SECOND),
        (["clang-x64"], SECOND[:2]),
        (["clang-x86"], SECOND[2:]),
        (["clang-x86/unit_core"], SECOND[2:]),
    ],
)
def test_of_the_second_compiler_only_its_word_chooses_more_than_unit_tests(words, chosen):
    assert chosen_suites(SECOND, words) == chosen


def test_the_suites_of_the_second_compiler_run_its_program():
    places = Places(ROOT, ROOT / "logs", ROOT / "stage", ROOT / "samples")
    assert places.of(UNIT) == places
    assert places.of(SECOND[1]).stage == ROOT / "build" / "clang" / "stage"
    assert places.of(SECOND[1]).samples == ROOT / "build" / "clang" / "samples"


def test_only_the_word_of_its_whole_run_makes_a_suite_take_every_case():
    assert [MANY.step(words) for words in (["many"], ["x64", "many"])] == [1, 1]
    assert [MANY.step(words) for words in ([], ["x64"], ["x64/unit_core"])] == [10, 10, 10]
    assert UNIT.step(["many"]) == 10


def test_the_programs_come_first_each_named_after_its_preset(ready_tree):
    (ready_tree.folder / "tests" / "some").mkdir(parents=True)
    (ready_tree.folder / "tests" / "some" / "test_rules.py").touch()
    (ready_tree.build / "one").mkdir()
    (ready_tree.build / "one" / "tests.txt").write_text("/a/unit_a.exe\trequests\t-\n/a/unit_b\tnative\tmany\n")
    assert all_suites(ready_tree.folder, ("one",)) == [
        Suite("one/unit_a", Kind.REQUESTS, Path("/a/unit_a.exe"), None),
        Suite("one/unit_b", Kind.NATIVE, Path("/a/unit_b"), "many"),
        Suite("some/rules", Kind.PYTEST, ready_tree.folder / "tests/some/test_rules.py", "some"),
    ]


def test_the_whole_programs_also_run_at_a_strict_host(tmp_path):
    (tmp_path / "build" / "x64").mkdir(parents=True)
    listed = "/a/endtoend_a.exe\trequests\tfaults\n/a/endtoend.exe\twindows\t-\n/a/unit_a.exe\twindows\t-\n"
    (tmp_path / "build" / "x64" / "tests.txt").write_text(listed)
    strict = [suite for suite in all_suites(tmp_path, ("x64",)) if suite.host]
    assert strict == [
        Suite("strict/endtoend_a", Kind.REQUESTS, Path("/a/endtoend_a.exe"), "strict", "strict"),
        Suite("strict/endtoend", Kind.REQUESTS, Path("/a/endtoend.exe"), "strict", "strict,status 5"),
    ]
    assert [suite.step(["strict"]) for suite in strict] == [1, 1]
    assert [suite.step(["faults"]) for suite in strict] == [10, 10]


def test_a_whole_run_may_take_longer():
    assert int(limit_of(UNIT, 10)) < int(limit_of(UNIT, 1))


def test_suites_run_side_by_side_but_for_those_that_need_the_machine():
    at_once = len(os.sched_getaffinity(0)) + 1
    all_at_once, two_alone = threading.Barrier(at_once), threading.Barrier(2)

    def run_suite(suite):
        if suite.is_alone:
            with pytest.raises(threading.BrokenBarrierError):
                two_alone.wait(timeout=0.5)
        else:
            all_at_once.wait()
        return suite

    alone = [Suite("scripts/sessions", Kind.PYTEST, Path("test_sessions.py"), None), Suite("box/box", Kind.PYTEST, Path("test_box.py"), None)]
    others = [Suite(f"native/{number}", Kind.NATIVE, Path("unit"), None) for number in range(2 * at_once)]
    assert list(outcomes_of(alone + others, run_suite)) == others + alone


def test_long_suites_begin_first():
    begun = []
    suites = [Suite(f"native/{number}", Kind.NATIVE, Path("unit"), None) for number in range(20)]
    suites += [Suite("keykit/check", Kind.PYTEST, Path("test_check.py"), None)]

    def run_suite(suite):
        begun.append(suite)
        return suite

    assert list(outcomes_of(suites, run_suite)) == suites
    assert begun[0] == suites[-1]


def test_the_suites_that_are_named_for_their_needs_exist():
    names = {suite.name for suite in all_suites(ROOT, ())}
    folders = {name.partition("/")[0] for name in names}
    assert {*ALONE, *LONG} <= names | folders


def test_a_project_folder_may_have_letters_outside_the_code_page(tmp_path, monkeypatch):
    monkeypatch.setenv("GTEST_FILTER", "Heap.StaysWhole")
    folder = tmp_path / "проект"
    (folder / "build").mkdir(parents=True)
    (folder / "scripts").symlink_to(ROOT / "scripts")
    suite = Suite("x64/heap_damage", Kind.WINDOWS, ROOT / "build" / "x64" / "tests" / "heap_damage.exe", None)
    places = Places(folder, folder / "logs", folder / "stage", folder / "samples")
    assert Runner(places).run(suite, 1).counts == Counts(1, 0)


def outcome(result):
    """The names of the suites and the last line."""
    lines = result.stdout.splitlines()
    names = [line.split()[:2] for line in lines if re.match("(ok|FAIL) ", line)]
    return names, lines[-1]


def test_the_sum_is_the_last_line_and_the_status_shows_failures(ready_tree):
    result = run(ready_tree.folder / "test", "suite_good")
    presets = ["x64", "x86", "native", "native-sanitized"]
    assert outcome(result) == ([["ok", preset + "/suite_good"] for preset in presets], "4 passed, 0 failed")
    assert result.returncode == 0


def test_only_the_word_of_its_whole_run_makes_a_suite_run_all_its_cases(ready_tree):
    assert outcome(run(ready_tree.folder / "test", "everything"))[1] == "8 passed, 0 failed"
    assert outcome(run(ready_tree.folder / "test", "native/suite_good"))[1] == "1 passed, 0 failed"


def test_what_a_suite_reports_is_shown_after_its_line(ready_tree):
    lines = run(ready_tree.folder / "test", "native/suite_good", "everything").stdout.splitlines()
    line = next(number for number, line in enumerate(lines) if " native/suite_good " in line)
    assert lines[line + 1] == "all cases seen"


def test_failures_crashes_and_silence_fail_and_show_their_output(ready_tree):
    result = run(ready_tree.folder / "test", "x64", "native")
    names, last = outcome(result)
    assert [state for state, _ in names] == ["ok", "FAIL", "FAIL", "FAIL"] * 2
    assert last == "4 passed, 6 failed"
    assert result.stdout.count("    One line of output.\n") == 6
    assert result.returncode == 1


def hanging(**variables):
    return dict(os.environ, KEYREAP_HANG="yes", **variables)


def test_a_suite_that_hangs_is_ended_by_the_watchdog(ready_tree):
    result = run(ready_tree.folder / "test", "x64/suite_good", env=hanging(KEYREAP_SUITE_LIMIT="3"))
    assert outcome(result) == ([["FAIL", "x64/suite_good"]], "0 passed, 1 failed")
    assert "ended by the watchdog after 3 s" in result.stdout


def test_an_interrupt_ends_the_suites_that_run_and_no_further_one_starts(ready_tree):
    prefix = ready_tree.build / "wine" / "pool" / "1"
    tests = subprocess.Popen(
        [ready_tree.folder / "test", "x64", "native"],
        env=hanging(),
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        text=True,
        start_new_session=True,
    )
    until(lambda: len(processes_of(prefix)) > 3)
    os.killpg(tests.pid, signal.SIGINT)
    assert tests.communicate() == ("", None)
    assert tests.returncode == 130
    assert processes_of(prefix) == []
    assert list(ready_tree.build.glob("share.*")) == []


def test_an_unknown_name_is_reported(ready_tree):
    result = run(ready_tree.folder / "test", "nonsense")
    assert result.returncode == 125
    assert "no suite is called nonsense" in result.stderr
