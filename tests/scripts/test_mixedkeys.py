"""Keys that Wine mixed up: ./keyreap names them, since a status of 0 alone would say that the .reg file is right."""

import os

import pytest
from conftest import ROOT, bash, run, windows

SAMPLES = os.environ["KEYREAP_SAMPLES"]
PROGRAM = os.environ["KEYREAP_STAGE"] + "\\x64\\Keyreap.exe"

LINE = (
    "keyreap: HKEY_LOCAL_MACHINE\\Software\\%s: Wine took a key below Wow6432Node for this one,"
    " so the .reg file can't be relied on there; see docs/tracing.md\n"
)
REPORT = LINE % "Keyreap\\Nodes"


def capture(pool, folder, *samples, mode="keyRedir", options=("--requests", "--report-mixed-keys")):
    """Runs the program over samples such as x86\\plain.dll; returns the session's status and output."""
    words = []
    for number, sample in enumerate(samples):
        words += [SAMPLES + "\\" + sample, windows(folder / f"{number}.reg")]
    return pool.run(*options, "wine", PROGRAM, "extreg", *words, mode)


@pytest.mark.parametrize("mode", ["keyRedir", "both"])
@pytest.mark.parametrize("sample", ["x86\\nodesfirst.dll", "x86\\viewnodes.dll", "x64\\viewnodes.dll"])
def test_a_key_that_was_mixed_up_is_named(pool, tmp_path, sample, mode):
    result = capture(pool, tmp_path, sample, mode=mode)
    assert (result.returncode, result.stderr) == (0, REPORT)
    assert result.stdout == ""


@pytest.mark.parametrize("mode", ["keyRedir", "both", "trace"])
@pytest.mark.parametrize("samples", [["x86\\plainfirst.dll", "x86\\plain.dll"], ["x64\\nodesfirst.dll", "x64\\everyview.dll", "x86\\plain.dll"]])
def test_keys_that_were_not_mixed_up_are_not_reported(pool, tmp_path, samples, mode):
    result = capture(pool, tmp_path, *samples, mode=mode)
    assert (result.returncode, result.stderr) == (0, "")


def makes_second_node(pool):
    """Whether this Wine stores a key in a second node when a 32-bit program names the first one. Wine 8 does."""
    add = "wine 'C:\\windows\\syswow64\\reg.exe' add 'HKLM\\Software\\Wow6432Node\\KeyreapProbe\\Key' /f"
    query = "wine reg query 'HKLM\\Software\\Wow6432Node\\%sKeyreapProbe'"
    queries = [query % node for node in ("", "Wow6432Node\\")]
    result = pool.run("bash", "-c", "%s && { %s || %s; } | tail -n 1" % (add, *queries))
    assert result.returncode == 0 and "KeyreapProbe" in result.stdout
    return "Wow6432Node\\Wow6432Node" in result.stdout


def test_in_the_live_registry_a_key_counts_if_wine_stored_it_in_a_second_node(pool, tmp_path):
    result = capture(pool, tmp_path, "x86\\nodesfirst.dll", mode="trace")
    expected = LINE % "Wow6432Node\\Keyreap\\Nodes" if makes_second_node(pool) else ""
    assert (result.returncode, result.stderr) == (0, expected)


def test_in_the_live_keys_of_the_user_wine_reads_the_node_for_the_plain_name(pool, tmp_path):
    result = capture(pool, tmp_path, "x86\\usernodes.dll", mode="trace")
    assert (result.returncode, result.stderr) == (0, REPORT.replace("LOCAL_MACHINE", "CURRENT_USER"))


def test_every_pair_of_a_run_counts_and_the_next_run_starts_clean(pool, tmp_path):
    samples = ["x64\\nodesfirst.dll", "x86\\plain.dll", "x86\\nodesfirst.dll", "x86\\plainfirst.dll"]
    assert capture(pool, tmp_path, *samples).stderr == REPORT
    assert capture(pool, tmp_path, "x86\\plain.dll").stderr == ""


def test_a_session_reports_only_on_request_and_leaves_no_names(pool, tmp_path):
    assert capture(pool, tmp_path, "x86\\nodesfirst.dll", options=["--requests"]).stderr == ""
    assert not any("mixed" in file.name for file in pool.folder.rglob("*"))


def test_names_that_a_killed_session_left_are_not_reported(pool, tmp_path):
    (pool.folder / "1").mkdir(parents=True)
    (pool.folder / "1" / "mixedkeys").write_text("HKEY_CLASSES_ROOT\\Stale\n")
    assert capture(pool, tmp_path, "x86\\plain.dll").stderr == ""


def test_several_keys_are_one_sentence():
    script = 'source "%s/scripts/common.sh"; source "%s/scripts/mixedkeys.sh"; MIXED_KEYS=("$@"); mixed_keys_text' % (ROOT, ROOT)
    assert bash(script).stdout == ""
    assert bash(script, "A\\B").stdout.startswith("A\\B: Wine")
    several = bash(script, "A\\B", "C", "D").stdout
    assert several.startswith("A\\B and 2 more: Wine")
    # The text is passed on as a variable, which has no room for all names.
    many = bash(script, *("HKEY_CLASSES_ROOT\\Key%d" % number for number in range(5000))).stdout
    assert many.startswith("HKEY_CLASSES_ROOT\\Key0 and 4999 more: Wine") and len(many) < 300 and "\n" not in many


def test_keyreap_reports_mixed_keys_without_a_terminal(tmp_path):
    sample = ROOT / "build" / "samples" / "x86" / "nodesfirst.dll"
    result = run(ROOT / "keyreap", "extreg", sample, tmp_path / "out.reg", "keyRedir")
    assert (result.returncode, result.stdout) == (0, "")
    # A set-up may have printed lines before it.
    assert result.stderr.splitlines(keepends=True)[-1:] == [REPORT]
