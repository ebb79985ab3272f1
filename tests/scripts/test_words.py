"""./keyreap at a terminal: what it says while it sets up, while a run goes on, and when it has ended. What it says
elsewhere is in test_reports.py."""

import os
import pty
import re
import signal
import subprocess
import sys

import pytest
from conftest import ROOT, processes_of, run, until, windows

GOLDEN = ROOT / "tests" / "endtoend" / "golden"
sys.path[:0] = [str(GOLDEN), str(ROOT / "tests" / "support")]

import contents  # noqa: E402
from document import value_lines  # noqa: E402
from terminalshown import shown_at  # noqa: E402

CHECK = ROOT / "build" / "tools" / "capturecheck"
USAGE = "keyreap: usage: ./keyreap [--see FOLDER] [--env NAME] [--display] extreg FILE OUT.reg [FILE OUT.reg ...] [keyRedir|trace|both]"
CALCULATOR = GOLDEN / "calculator-x64.reg"


class Terminal:
    """A command whose standard error is a terminal."""

    def __init__(self, *command, **options):
        own, its = pty.openpty()
        self.process = subprocess.Popen(
            [str(word) for word in command], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=its, **options
        )
        os.close(its)
        self.own = own

    def shown(self):
        """All that the terminal received, after the command and what it started have closed it."""
        text = shown_at(self.own)
        self.process.communicate()
        return text


def lines(terminal):
    """The lines that stay; a line that a later one overwrites doesn't count."""
    return re.sub(r"\r\x1b\[K[^\r\n]*(?=\r\x1b\[K)", "", terminal.shown()).replace("\r\x1b[K", "").splitlines()


def test_a_run_without_work_says_so(ready_tree):
    terminal = Terminal(ready_tree.keyreap, "help")
    why = "keyreap: help: nothing was done, since the only verb is extreg"
    assert lines(terminal) == ["keyreap: status 0: nothing was asked for", why, USAGE]
    assert terminal.process.returncode == 0


def test_the_status_is_printed_and_returned(ready_tree):
    terminal = Terminal(ready_tree.keyreap, "status", "9")
    assert lines(terminal) == ["keyreap: status 9: crashed, or was ended; see docs/exit-status.md"]
    assert terminal.process.returncode == 9


def test_an_output_that_the_run_did_not_write_is_reported(ready_tree, tmp_path):
    (tmp_path / "old.reg").write_text("of an earlier run")
    words = ["extreg", "a.dll", "old.reg", "b.dll", "none.reg", "c.dll", "C:\\x.reg", "trace"]
    assert lines(Terminal(ready_tree.keyreap, *words, cwd=tmp_path)) == [
        "keyreap: status 125: a file is missing",
        "keyreap: a.dll: old.reg was not written, although the program ended with 0: the server ended its process",
        "keyreap: b.dll: skipped, since a.dll failed",
        "keyreap: c.dll: skipped, since a.dll failed",
    ]


def test_an_output_on_a_drive_of_the_run_is_not_looked_for(ready_tree):
    terminal = Terminal(ready_tree.keyreap, "extreg", "c.dll", "C:\\x.reg")
    assert lines(terminal) == [
        "keyreap: status 0: captured",
        "keyreap: c.dll: C:\\x.reg went with the run's own drive; name a file of this machine",
    ]


def summary_of(file):
    result = run(CHECK, "report", "terminal", 1, "companion -", "extreg", "x.dll", file, 0)
    records = result.stdout.split("\0")
    return records[records.index("say", 2) + 1]


def counted(number, word):
    return "%d %s%s" % (number, word, "" if number == 1 else "s")


def all_keys(keys):
    for key in keys.values():
        yield key
        yield from all_keys(key.children)


@pytest.mark.parametrize("name", ["everytype", "texts", "names", "keys", "plain", "peruser", "silent"])
def test_keys_values_and_size_of_an_output_are_printed(name):
    file = GOLDEN / (name + ".reg")
    keys = list(all_keys(getattr(contents, name)()))
    values = sum(len(list(value_lines(key))) for key in keys)
    words = [counted(len(keys), "key"), counted(values, "value"), counted(file.stat().st_size, "byte")]
    assert summary_of(file) == "%s: %s" % (file, ", ".join(words))


def test_an_output_is_found_under_its_windows_name():
    name = windows(CALCULATOR)
    assert summary_of(name) == summary_of(CALCULATOR).replace(str(CALCULATOR), name)


@pytest.mark.parametrize("entry", [r'"\"="x"', r'"x"="\"', '"x"="a\r\n[no key]\r\n@=\\"no value\\""', '"x"=hex:00,\\\r\n  01', "@="])
def test_odd_entries_count_as_one(tmp_path, entry):
    document = '\ufeffWindows Registry Editor Version 5.00\r\n\r\n[K]\r\n%s\r\n"last"=dword:00000001\r\n' % entry
    (tmp_path / "odd.reg").write_bytes(document.encode("utf-16-le"))
    assert summary_of(tmp_path / "odd.reg").split(": ")[1].startswith("1 key, 2 values, ")


def test_a_set_up_shows_what_it_is_doing(tree):
    terminal = Terminal(tree.keyreap, "status", "0")
    shown = terminal.shown()
    assert terminal.process.returncode == 0
    assert "keyreap: building x64, which takes a minute or two\r\n" in shown
    assert re.search(r"\r\x1b\[K  \S", shown)
    assert "\r\x1b[Kkeyreap: status 0: nothing was asked for\r\n" in shown


SAMPLES = ROOT / "build" / "samples"


def test_a_run_of_many_pairs_shows_how_far_it_is(tmp_path):
    assert run(ROOT / "keyreap", "extreg").returncode == 0
    words = [word for number in range(4) for word in (SAMPLES / "x64" / "plain.dll", tmp_path / ("%d.reg" % number))]
    terminal = Terminal(ROOT / "keyreap", "extreg", *words, "keyRedir")
    shown = terminal.shown()
    assert terminal.process.returncode == 0
    assert "\r\x1b[K\x1b[?7lkeyreap: 1 of 4: %s" % words[0] in shown
    # The line is gone when the run has ended.
    assert re.search(r"\r\x1b\[Kkeyreap: status 0: captured\r\n", shown)
    assert len([line for line in shown.split("\r\n") if line]) == 5


def test_a_run_that_cannot_begin_shows_no_progress(tmp_path):
    words = [word for number in range(4) for word in (SAMPLES / "x64" / "plain.dll", tmp_path / ("%d.reg" % number))]
    terminal = Terminal(ROOT / "keyreap", "extreg", *words, env=dict(os.environ, KEYREAP_POOL_SIZE="0"))
    assert terminal.shown() == "keyreap: KEYREAP_POOL_SIZE is '0', and has to be a number from 1 to 99999\r\n"
    assert terminal.process.returncode == 125


def test_an_interrupt_ends_the_run_without_further_messages(ready_tree):
    terminal = Terminal(ready_tree.keyreap, "wait", start_new_session=True)
    prefix = ready_tree.build / "wine" / "pool" / "1"
    until(lambda: len(processes_of(prefix)) > 3)
    os.killpg(terminal.process.pid, signal.SIGINT)
    assert "status" not in terminal.shown()
    assert terminal.process.returncode == -signal.SIGINT
    assert processes_of(prefix) == []
