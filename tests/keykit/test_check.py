"""keykit check finds what is wrong with each server that is wrong in one way, and nothing with those that are right. One
session captures them, and one check of each, with all parts, is what most of these tests read."""

import hashlib
import json
import os
import re
import shutil
import subprocess
import tempfile
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import jsonschema
import pytest
import readers
from checkedservers import (
    CAPTURED_RIGHT,
    EXPLAINED,
    NAMES,
    RIGHT,
    SAMPLE,
    SERVERS,
    SOURCES,
    TRACED_RENAMED,
    WHOLE,
    WRITES_LATE,
    WRONG,
    server_of,
)
from conftest import KEYKIT, PRODUCT, ROOT

CHECKER = jsonschema.Draft202012Validator(json.loads((ROOT / "docs" / "check.schema.json").read_text()))
PARTS = {"1": "whole", "2": "result", "3": "works", "4": "clean", "5": "noise", "6": "same", "7": "fillers"}


class Place:
    """Captures and checks, with a pool of Wine prefixes and a folder for temporary files that nobody else uses."""

    def __init__(self, folder, pool):
        self.folder = folder
        self.pool = pool
        self.temporary = folder / "temporary"
        self.temporary.mkdir()
        self.environment = dict(os.environ, KEYREAP_POOL=str(pool), TMPDIR=str(self.temporary))

    def run(self, *words):
        words = list(map(str, words))
        return subprocess.run(words, capture_output=True, stdin=subprocess.DEVNULL, text=True, env=self.environment)

    def capture(self, bitness, names, mode):
        folder = self.folder / ("%s-%d" % (mode, bitness))
        folder.mkdir(exist_ok=True)
        pairs = [word for name in names for word in (server_of(bitness, name), folder / (name + ".reg"))]
        result = self.run(ROOT / "keyreap", "extreg", *pairs, mode)
        assert result.returncode == 0, result.stderr
        return {(bitness, name): folder / (name + ".reg") for name in names}

    def check(self, server, capture, *words):
        return self.run(KEYKIT, "check", server_of(*server), capture, *words)

    def check_copy(self, server, capture, *words):
        """Leaves the check file beside the capture as it is."""
        with tempfile.TemporaryDirectory(dir=self.folder) as folder:
            return self.check(server, shutil.copy(capture, folder), *words)

    def processes(self):
        mark = b"WINEPREFIX=" + os.fsencode(self.pool) + b"/"
        found = []
        for process in Path("/proc").glob("[0-9]*"):
            try:
                found += [process.name for text in (process / "environ").read_bytes().split(b"\0") if text.startswith(mark)]
            except OSError:
                pass
        return found


def at_once(function, items):
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        return dict(zip(items, pool.map(function, items)))


@pytest.fixture(scope="module")
def place(tmp_path_factory):
    """What is out of date is built here, so that no check prints the progress of it."""
    subprocess.run([KEYKIT, "check", "--help"], check=True, capture_output=True)
    # A check that finds half a registration asks for its story.
    set_up = 'source "$1/scripts/common.sh" && source "$1/scripts/setup.sh" && set_up explain'
    subprocess.run(["bash", "-c", "set -euo pipefail; " + set_up, "bash", ROOT], check=True, capture_output=True)
    pool = Path(tempfile.mkdtemp(prefix="pool.", dir=ROOT / "build"))
    yield Place(tmp_path_factory.mktemp("checked"), pool)
    shutil.rmtree(pool)


@pytest.fixture(scope="module")
def captures(place):
    """A command for each bitness, and one for each server that would write into the next ones' captures."""
    files = {}
    for bitness, names in SAMPLE.items():
        files |= place.capture(bitness, [name for name in names if name not in WRITES_LATE], "keyRedir")
        for name in WRITES_LATE & set(names):
            files |= place.capture(bitness, [name], "keyRedir")
    return files


@pytest.fixture(scope="module")
def reports(place, captures):
    """A whole check of each server."""
    return at_once(lambda server: place.check(server, captures[server]), SERVERS)


def check_file(capture):
    return json.loads(capture.with_suffix(".check.json").read_text())


def lines_of(report):
    return report.stdout.splitlines()


def rule_of(line):
    return re.match(r"[\w.]+: (C\d{3})\b", line)[1]


def said(server):
    """The lines that name the cause, without the rule."""
    return WRONG[server[1]].said(server[0], server_of(*server).parent)


def servers(names):
    return pytest.mark.parametrize("server", [server for server in SERVERS if server[1] in names], ids=lambda server: "%d-%s" % server)


def test_each_sample_is_checked():
    sources = {folder: sorted(file.stem for file in (SOURCES / folder).glob("*.cpp")) for folder in ("right", "wrong")}
    assert sources == {"right": RIGHT, "wrong": sorted([*WRONG, *CAPTURED_RIGHT])}
    assert set(SAMPLE[64]) == set(NAMES) and len(SAMPLE[32]) >= len(NAMES) // 3


@servers(RIGHT)
def test_a_right_server_has_no_findings(reports, server):
    report = reports[server]
    assert (report.returncode, report.stdout, report.stderr) == (0, "", "")


@servers(WRONG)
def test_a_wrong_server_has_lines_that_name_the_cause(reports, server):
    report, wrong = reports[server], WRONG[server[1]]
    lines = lines_of(report)
    assert (report.returncode, report.stderr) == (1, "")
    expected = ["%s.reg: %s%s" % (server[1], wrong.rule, text) for text in said(server)]
    assert [line for line in lines if rule_of(line) == wrong.rule] == expected
    assert {rule_of(line) for line in lines} == wrong.further_rules(server[0]) | {wrong.rule}


@servers(CAPTURED_RIGHT)
def test_a_server_that_is_captured_as_it_registers_has_no_findings(reports, server):
    report = reports[server]
    assert (report.returncode, report.stdout, report.stderr) == (0, "", "")


@servers(RIGHT)
def test_all_classes_of_a_right_server_are_created(reports, captures, server):
    created = check_file(captures[server])["created"]
    assert created["classes"] > 0
    assert created["byCapture"] == created["byRegistration"] == created["classes"]


# The stories


@servers(EXPLAINED)
def test_a_story_names_the_cause(place, server):
    mode, pattern, reference = EXPLAINED[server[1]]
    result = place.run(KEYKIT, "explain", server_of(*server), "--mode", mode)
    lines = result.stdout.splitlines()
    found = [line for line in lines if re.fullmatch(re.sub(r"\bN\b", r"\\d+", re.escape(pattern)), line)]
    assert (result.returncode, len(found)) == (0, 1), result.stdout + result.stderr
    if reference:
        number = re.search(r"\(line (\d+),", found[0])[1]
        assert [line for line in lines if line.startswith(number + " ") and line.endswith(": " + reference)]


def test_a_trace_of_a_renamed_key_is_found_by_its_check(place):
    (server, capture), = place.capture(64, ["renamed"], "trace").items()
    report = place.check(server, capture, "--parts", "whole,fillers")
    assert (report.returncode, lines_of(report)) == (1, ["renamed.reg: " + text for text in TRACED_RENAMED])


# The rules


def table(place):
    """The numbers of the rules, from the help."""
    return re.findall(r"^  (C\d{3})  ", place.run(KEYKIT, "check", "--help").stdout, re.M)


def unfound_without(rule, reports):
    """The servers whose cause no line names that another rule has."""

    def texts(server):
        lines = [line for line in lines_of(reports[server]) if rule_of(line) != rule]
        return [re.sub(r"^[\w.]+: C\d{3}", "", line) for line in lines]

    return {server for server in reports if server[1] in WRONG and not set(said(server)) & set(texts(server))}


def test_each_cause_is_named_by_one_rule_alone(place, reports):
    rules = table(place)
    assert len(rules) == len(set(rules)) > 20
    for rule in rules:
        expected = {server for server in reports if server[1] in WRONG and WRONG[server[1]].rule == rule}
        assert unfound_without(rule, reports) == expected, rule


# A rule with the first server whose cause it names, and the rules whose part is checked alone with them: all of them in a
# whole run, otherwise one of each part.
NAMED = {wrong.rule: (64, name) for name, wrong in sorted(WRONG.items(), reverse=True)}
ALONE = sorted(NAMED if WHOLE else {rule[1]: rule for rule in sorted(NAMED)}.values())


@pytest.fixture(scope="module")
def quick_reports(place, captures):
    """Of each rule a check of its part alone without the rule, and of some also with it."""
    words = [(rule, ("--without", rule)) for rule in NAMED] + [(rule, ()) for rule in ALONE]

    def report(item):
        rule, without = item
        return place.check_copy(NAMED[rule], captures[NAMED[rule]], "--parts", PARTS[rule[1]], *without)

    return at_once(report, words)


@pytest.mark.parametrize("rule", ALONE)
def test_a_part_alone_has_the_lines_of_its_rules(reports, quick_reports, rule):
    report = quick_reports[rule, ()]
    assert lines_of(report) == [line for line in lines_of(reports[NAMED[rule]]) if rule_of(line)[1] == rule[1]]
    assert (report.returncode, report.stderr) == (1, "")


@pytest.mark.parametrize("rule", sorted(NAMED))
def test_a_rule_that_is_left_out_has_no_line_and_the_others_have_theirs(reports, quick_reports, rule):
    report = quick_reports[rule, ("--without", rule)]
    expected = [line for line in lines_of(reports[NAMED[rule]]) if rule_of(line)[1] == rule[1] and rule_of(line) != rule]
    assert lines_of(report) == expected
    assert (report.returncode, report.stderr) == (1 if expected else 0, "")


# The check file


def line_of(check, finding):
    value = finding.get("value")
    key = " " + finding["key"] if "key" in finding else ""
    name = "" if value is None else ', value "%s"' % value if value else ", default value"
    return "%s: %s%s%s: %s" % (check["capture"], finding["rule"], key, name, finding["sentence"])


@servers(NAMES)
def test_the_check_file_is_as_its_schema_says_and_has_the_lines(reports, captures, server):
    capture = captures[server]
    check = check_file(capture)
    assert list(CHECKER.iter_errors(check)) == []
    assert [line_of(check, finding) for finding in check["findings"]] == lines_of(reports[server])
    assert (check["capture"], check["server"]) == (server[1] + ".reg", server[1] + ".dll")
    assert check["digest"] == hashlib.sha1(capture.read_bytes()).hexdigest()
    assert check["parts"] == list(PARTS.values())


@servers(NAMES)
def test_nothing_that_a_server_writes_is_noise(reports, captures, server):
    assert check_file(captures[server])["noise"] == []


def test_the_check_file_is_what_json_prints(place, captures, tmp_path):
    capture = Path(shutil.copy(captures[64, "timed"], tmp_path))
    report = place.check((64, "timed"), capture, "--parts", "works,same", "--json")
    assert (report.returncode, report.stderr) == (1, "")
    assert capture.with_suffix(".check.json").read_text() == report.stdout
    check = json.loads(report.stdout)
    assert list(CHECKER.iter_errors(check)) == []
    assert check["parts"] == ["works", "same"]
    assert check["created"] == {"classes": 1, "byCapture": 1, "byRegistration": 1}
    assert [finding["rule"] for finding in check["findings"]] == ["C602"]


def emitted(place, server, capture, noise):
    words = ["--product", PRODUCT, "--server", server_of(*server), "--directory", "C:\\there", "--noise", noise]
    result = subprocess.run([KEYKIT, "emit", "reg", capture, *words], capture_output=True, env=place.environment)
    assert (result.returncode, result.stderr) == (0, b"")
    return readers.reg(result.stdout)


@servers(["once"])
def test_what_is_registered_once_in_a_process_is_carried_when_noise_is_dropped(place, reports, captures, server):
    carried = emitted(place, server, captures[server], "drop")
    assert carried == emitted(place, server, captures[server], "keep")
    assert any(key.endswith("\\KeyreapChecked\\Once") and "Installed" in values for key, values in carried.items())
    kept = [key.rpartition("\\")[2] for key, values in carried.items() if values]
    clsid = "{61027BC4-CA40-4066-B398-31BDEC0DC991}"
    assert sorted(kept) == sorted([clsid, "InprocServer32", "ProgID", "KeyreapChecked.Once", "CLSID", "Once"])


def test_names_with_half_a_character_are_compared(place, tmp_path):
    server, capture = ROOT / "build" / "samples" / "x64" / "names.dll", tmp_path / "names.reg"
    assert place.run(ROOT / "keyreap", "extreg", server, capture, "keyRedir").returncode == 0
    names = capture.read_bytes().decode("utf-16-le", "surrogatepass")
    assert "\ud83d high half" in names and "\ude00 low half" in names
    assert place.run(KEYKIT, "check", server, capture, "--parts", "whole").returncode in (0, 1)
    assert [finding for finding in check_file(capture)["findings"] if finding["key"].endswith("\\Odd")] == []


# Refusals

ONCE, NO_FILE = str(server_of(64, "once")), "/nowhere/none"
REFUSED = {
    "a server that is missing": ([NO_FILE, "{capture}"], "/nowhere/none: the server's file can't be read"),
    "a file that is no server": ([__file__, "{capture}"], "%s: it is neither a PE image nor a type library" % __file__),
    "a capture that is missing": ([ONCE, NO_FILE], "/nowhere/none: the capture can't be read"),
    "an unknown rule": ([ONCE, "{capture}", "--without", "C999"], "--without: there is no rule C999"),
    "an unknown rule after a known one": ([ONCE, "{capture}", "--without", "C101,C1"], "--without: there is no rule C1"),
    "an unknown part": (
        [ONCE, "{capture}", "--parts", "all"],
        "--parts: all not in {whole,result,works,clean,noise,same,fillers}",
    ),
    "no capture": ([ONCE], "CAPTURE is required"),
}


@pytest.mark.parametrize("words, sentence", REFUSED.values(), ids=REFUSED.keys())
def test_what_cannot_be_checked_has_a_sentence(place, captures, tmp_path, words, sentence):
    capture = shutil.copy(captures[64, "once"], tmp_path)
    result = place.run(KEYKIT, "check", *(word if word != "{capture}" else capture for word in words))
    assert (result.returncode, result.stdout, result.stderr) == (2, "", "keykit: %s\n" % sentence)
    assert [file.name for file in tmp_path.iterdir()] == ["once.reg"]


# Afterwards. This test is the last one of the file.


def test_checks_leave_no_files_and_no_processes(place, reports, quick_reports, captures):
    end = time.monotonic() + 30
    while place.processes() and time.monotonic() < end:
        time.sleep(0.1)
    assert place.processes() == []
    assert list(place.temporary.iterdir()) == []
    for folder in {capture.parent for capture in captures.values()}:
        names = [name for bitness, name in captures if captures[bitness, name].parent == folder]
        assert sorted(file.name for file in folder.iterdir()) == sorted(name + end for name in names for end in (".reg", ".check.json"))
