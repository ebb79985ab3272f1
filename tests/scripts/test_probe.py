"""A host whose request log has lines that no known Wine writes, or whose traces differ: ./keyreap says so, and never
returns 0 for a run that traces there."""

import os
import shutil
import subprocess

import pytest
from conftest import ROOT, new_tree, run, windows

CHECK = ROOT / "build" / "tools" / "capturecheck"
SAMPLES = ROOT / "build" / "samples"

LINE = "0024: frobnicate_key( hkey=0004 )"
UNKNOWN = "Wine's server logged a line that Keyreap doesn't know: "
WORKS = "; the mode keyRedir works, but not for programs; see docs/hosts.md\n"
REPORT = (
    "keyreap: the .reg files of traced pairs can't be relied on, since "
    + UNKNOWN
    + LINE
    + WORKS
)
TRIAL = "keyreap: trying the modes with this Wine\n"
REFUSAL = "keyreap: what a trace records with this Wine can't be relied on: %s" + WORKS

# Wine's server, with a further line in its log: late, after some programs have started.
SERVER = """#!/bin/bash
[[ $* != *-d2* ]] || exec 2> >(exec perl -pe '$| = 1; print "%s\\n" if $. == 5000' >&2)
exec /usr/bin/wineserver "$@"
"""


@pytest.fixture(scope="module")
def other_wine(tmp_path_factory):
    """The environment of a run whose server logs LINE."""
    server = tmp_path_factory.mktemp("server") / "wineserver"
    server.write_text(SERVER % LINE)
    server.chmod(0o755)
    server.parent.chmod(0o755)
    return dict(os.environ, KEYREAP_WINESERVER=str(server))


@pytest.fixture(scope="module")
def unknown_tree(other_wine):
    """A tree that was set up with another Wine."""
    made = new_tree()
    assert made.run("status", "0", env=other_wine).returncode == 0
    yield made
    shutil.rmtree(made.folder)


def inputs(tree):
    stage = tree.build / "stage"
    return stage / "samples" / "x64" / "thermometer.dll", stage / "tools" / "x64" / "explain.exe"


def capture(tree, folder, *modes, pick=0, env=None):
    """Captures the server of the tree, or with `pick` its program."""
    return tree.run("extreg", inputs(tree)[pick], folder / "out.reg", *modes, env=env)


# A line that comes late


@pytest.mark.parametrize("modes", [("trace",), ("both",), ()])
def test_an_unknown_line_fails_a_run_that_traces(ready_tree, other_wine, tmp_path, modes):
    result = capture(ready_tree, tmp_path, *modes, env=other_wine)
    assert (result.returncode, result.stdout, result.stderr) == (125, "", REPORT)


def test_an_unknown_line_fails_the_capture_of_a_program_in_every_mode(ready_tree, other_wine, tmp_path):
    result = capture(ready_tree, tmp_path, "keyRedir", pick=1, env=other_wine)
    assert (result.returncode, result.stderr.splitlines(True)[-1]) == (125, REPORT)


def test_an_unknown_line_means_nothing_to_a_run_that_does_not_trace(ready_tree, other_wine, tmp_path):
    result = capture(ready_tree, tmp_path, "keyRedir", env=other_wine)
    assert (result.returncode, result.stdout, result.stderr) == (0, "", "")


def test_without_an_unknown_line_a_run_succeeds(ready_tree, tmp_path):
    result = capture(ready_tree, tmp_path, "trace")
    assert (result.returncode, result.stdout, result.stderr) == (0, "", "")


def test_the_text_has_the_number_of_further_lines():
    script = 'source "%s/scripts/common.sh"; source "%s/scripts/unplaced.sh"; UNPLACED=("$@"); unplaced_text' % (ROOT, ROOT)
    texts = [run("/bin/bash", "-c", script, "bash", *words).stdout for words in (["", 0], [LINE, 1], [LINE, 3])]
    assert texts == ["", UNKNOWN + LINE, UNKNOWN + LINE + " and 2 more"]


KILLING = 'pkill -KILL -f "^[^ ]*/requestfilter $WINEPREFIX/"; wine cmd /c exit 5'


def test_a_filter_that_was_killed_makes_the_log_unreliable(pool):
    said = ["bash", "-c", 'printf "%s" "$KEYREAP_UNPLACED"']
    result = pool.run("--requests", "--then", len(said), *said, "bash", "-c", KILLING)
    assert result.stdout == "what reads the log of Wine's server didn't reach its end"


# A host that the set-up found unknown


def test_at_an_unknown_host_no_run_that_traces_begins(unknown_tree, other_wine, tmp_path):
    words, output = tmp_path / "words", tmp_path / "out.reg"
    output.write_text("earlier")
    before = output.stat().st_ctime_ns
    environment = dict(other_wine, KEYREAP_WORDS=windows(words))
    for modes, pick in [(["trace"], 0), (["both"], 0), ([], 0), (["keyRedir"], 1)]:
        result = capture(unknown_tree, tmp_path, *modes, pick=pick, env=environment)
        why = UNKNOWN + LINE
        assert (result.returncode, result.stdout, result.stderr) == (125, "", TRIAL + REFUSAL % why)
    assert (output.stat().st_ctime_ns, words.exists()) == (before, False)


def test_at_an_unknown_host_all_else_works(unknown_tree, tmp_path):
    result = capture(unknown_tree, tmp_path, "keyRedir")
    assert (result.returncode, result.stdout, result.stderr) == (0, "", "")
    assert (tmp_path / "out.reg").exists()
    assert unknown_tree.run("status", "7").returncode == 7


def test_an_unknown_host_is_tried_again_by_each_run_that_traces(unknown_tree, other_wine, tmp_path):
    for environment, status in [(other_wine, 125), (None, 0)]:
        result = capture(unknown_tree, tmp_path, "trace", env=environment)
        assert (result.returncode, TRIAL in result.stderr) == (status, True)
    assert capture(unknown_tree, tmp_path, "trace").stderr == ""


# A server that can't be started.
# Wine's server, which doesn't start with a log.
ABSENT_SERVER = """#!/bin/bash
[[ $* != *-d2* ]] || exit 1
exec /usr/bin/wineserver "$@"
"""
RECORDING = "keyreap: recording how Wine starts programs\n"


def test_a_host_whose_server_does_not_start_with_a_log_is_unknown_and_all_else_works(tree, tmp_path):
    server = tmp_path / "wineserver"
    server.write_text(ABSENT_SERVER)
    server.chmod(0o755)
    environment = dict(os.environ, KEYREAP_WINESERVER=str(server))
    assert tree.run("status", "0", env=environment).returncode == 0
    result = capture(tree, tmp_path, "trace", env=environment)
    assert (result.returncode, result.stderr) == (125, RECORDING + TRIAL + REFUSAL % "a session with a request log can't be started")
    result = capture(tree, tmp_path, "keyRedir", env=environment)
    assert (result.returncode, result.stdout, result.stderr) == (0, "", "")


def test_a_trial_without_an_end_has_found_nothing(ready_tree):
    words = [ready_tree.folder / "scripts" / "probed.sh", "log", "1"]
    result = run(*words, env=dict(os.environ, KEYREAP_UNPLACED=""))
    assert (result.returncode, result.stdout) == (0, "the trial of the modes ended with 1\n")


def test_a_host_counts_as_unknown_while_its_trial_is_replaced(tree):
    script = 'source "$1/scripts/common.sh"; source "$1/scripts/setup.sh"; host_unknown'
    assert run("/bin/bash", "-c", script, "bash", tree.folder).returncode == 0


# What the trial looks at


@pytest.mark.parametrize(
    "old, new, why",
    [
        ('=\\"C\\"\\r\\n");', '=\\"" + words[count - 1] + L"\\"\\r\\n");', "in mode trace the x64 sample server has other values than in mode keyRedir"),
        ("\\r\\n\\\"B\\\"=\\\"C\\\"", "", "in mode keyRedir the x64 sample server has no value"),
        ("header);", "header + L\"\\r\\n[HKEY_CLASSES_ROOT\\\\A]\\r\\n\");", "a trace takes what Wine does at the start of a program for what the x64 program does"),
        ("return count < 2 ? -1 : 0;", "return 9;", "in mode keyRedir Keyreap.exe ended with 9 for its sample server"),
        ('WriteText(words[i + 1], header + L"\\r\\n[', 'WriteText(L"", header + L"\\r\\n[', "in mode keyRedir the x64 sample server has no value"),
    ],
)  # fmt: skip
def test_a_host_on_which_a_known_file_gives_another_result_is_unknown(tree, tmp_path, old, new, why):
    tree.edit(old, new)
    assert tree.run("status", "7").returncode == 7
    result = capture(tree, tmp_path, "trace")
    assert (result.returncode, result.stderr) == (125, TRIAL + REFUSAL % why)


def test_a_trial_is_stored_and_made_again_for_another_program(tree):
    assert TRIAL in tree.run("status", "7").stderr
    (tree.build / "stamps" / "run").unlink()
    assert TRIAL not in tree.run("status", "7").stderr
    tree.edit("_wtoi(words[2])", "_wtoi(words[2]) + 1")
    assert TRIAL in tree.run("status", "7").stderr
    shutil.rmtree(tree.build / "wine" / "probe")
    assert TRIAL in tree.run("status", "7").stderr
    assert tree.run("status", "7").stderr == ""


def test_the_tests_run_on_an_unknown_host_and_say_so(unknown_tree, other_wine):
    script = 'source "$1/scripts/common.sh"; source "$1/scripts/setup.sh"; make_everything() { make_program; }; set_up test'
    result = run("/bin/bash", "-ec", script, "bash", unknown_tree.folder, env=other_wine)
    assert result.returncode == 0
    assert result.stderr.splitlines(True)[-1] == REFUSAL % (UNKNOWN + LINE)


# Which runs trace


@pytest.mark.parametrize(
    "words, traces",
    [
        (["x64/plain.dll", "o.reg", "keyRedir"], "no"),
        (["x64/plain.dll", "o.reg", "KEYREDIR"], "no"),
        (["x64/plain.dll", "o.reg", "trace"], "yes"),
        (["x64/plain.dll", "o.reg", "both"], "yes"),
        (["x64/plain.dll", "o.reg"], "yes"),
        (["x64/plain.dll", "o.reg", "unknown"], "yes"),
        (["x64/plain.dll", "o.reg", "x86/starting.exe", "p.reg", "keyRedir"], "yes"),
        (["missing.dll", "o.reg", "keyRedir"], "no"),
        (["C:\\windows\\system32\\msxml3.DLL", "o.reg", "keyRedir"], "no"),
        (["C:\\windows\\system32\\cmd.exe", "o.reg", "keyRedir"], "yes"),
        (["C:\\windows\\unknown", "o.reg", "keyRedir"], "yes"),
        (["trace"], "no"),
    ],
)
def test_a_run_traces_by_its_mode_or_for_a_program(words, traces):
    result = subprocess.run([CHECK, "prepare", "extreg", *words], cwd=SAMPLES, capture_output=True, text=True)
    records = result.stdout.split("\0")
    assert records[records.index("traces") + 1] == traces
