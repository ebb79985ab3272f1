"""What the observer reports of a command's crash, and that it changes neither the command's streams nor its
status."""

import os
import subprocess
import tempfile
from pathlib import Path

import pytest

from conftest import ROOT, SESSION, bash, run, windows

SAMPLES = ROOT / "build" / "samples"
PROGRAM = ROOT / "build" / "stage" / "bin" / "x64" / "Keyreap.exe"
OBSERVED = ROOT / "build" / "tools" / "observer"
WINE = "/usr/bin/wine"

AFTER = "outside of any module, after %s.dll was loaded"

# Each sample, the low bits of its status, and the reason, in which %s is the name of the sample.
CRASHES = {
    "faultReadNull": (5, "access violation (0xC0000005) in %s.dll"),
    "faultWriteElsewhere": (5, "access violation (0xC0000005) in %s.dll"),
    "faultExecuteNull": (5, "access violation (0xC0000005) " + AFTER),
    "faultExecuteElsewhere": (5, "access violation (0xC0000005) " + AFTER),
    "faultReadInSystem": (5, "access violation (0xC0000005) in msvcrt.dll, called by %s.dll"),
    "faultDivideByZero": (0x94, "integer division by zero (0xC0000094) in %s.dll"),
    "faultIllegalInstruction": (0x1D, "illegal instruction (0xC000001D) " + AFTER),
    "faultStackOverflow": (0xFD, "stack overflow (0xC00000FD) in %s.dll"),
    "faultRaise": (1, "exception 0xE0000001 in %s.dll"),
    "faultFailFast": (9, "stack buffer overrun or fast fail (0xC0000409) " + AFTER),
    "faultAbort": (3, "abort (status 3), after %s.dll was loaded"),
}


@pytest.fixture
def log():
    """A log in a folder of its own, outside of the session's prefix, as users of the observer have it."""
    with tempfile.TemporaryDirectory(prefix="observed.") as folder:
        yield Path(folder) / "log"


def observed(log, *command, **options):
    return run(SESSION, "--ready", "--requests", OBSERVED, log, *command, **options)


def capture(log, bitness, sample, tmp_path, mode="keyRedir", **options):
    server = sample if isinstance(sample, Path) else SAMPLES / bitness / (sample + ".dll")
    words = ("extreg", windows(server), windows(tmp_path / "out.reg"), mode)
    return observed(log, WINE, PROGRAM, *words, **options)


def reason(log):
    """The line of the log, or an empty text."""
    return log.read_text(encoding="utf-8").removesuffix("\n") if log.exists() else ""


@pytest.fixture(params=("x64", "x86"))
def bitness(request):
    return request.param


@pytest.fixture(scope="module")
def display():
    """The name of a display that only these tests use."""
    read, write = os.pipe()
    command = ["Xvfb", "-displayfd", str(write), "-screen", "0", "640x480x24"]
    server = subprocess.Popen(command, pass_fds=[write], stderr=subprocess.DEVNULL)
    os.close(write)
    with os.fdopen(read) as number:
        yield ":" + number.readline().strip()
    server.kill()
    server.wait()


@pytest.mark.parametrize("sample", CRASHES)
def test_a_crash_is_named_with_its_module(log, bitness, sample, tmp_path):
    status, words = CRASHES[sample]
    result = capture(log, bitness, sample, tmp_path)
    assert (result.returncode, result.stdout, result.stderr) == (status, "", "")
    assert reason(log) == words % sample


def test_an_uncaught_exception_is_named_as_its_runtime_ends_it(log, bitness, tmp_path):
    status = {"x64": 0x43, "x86": 3}[bitness]
    assert capture(log, bitness, "faultThrow", tmp_path).returncode == status
    words = {
        "x64": "C++ exception that nobody caught (0x20474343) in faultThrow.dll",
        "x86": "abort (status 3), after faultThrow.dll was loaded",
    }
    assert reason(log) == words[bitness]


def test_a_call_of_a_function_that_a_library_lacks_is_named(log, bitness, tmp_path):
    """Wine loads such a server, and names the called function on standard error."""
    result = capture(log, bitness, "lacking", tmp_path)
    assert result.returncode == 1
    assert "lackinglib.dll.LaterNumber" in result.stderr
    place = {"x64": " in lacking.dll", "x86": ", after lacking.dll was loaded"}[bitness]
    assert reason(log) == "call of a function that a library lacks (0x80000100)" + place


def test_a_crash_is_named_in_every_mode(log, bitness, tmp_path):
    for mode in ("trace", "both"):
        assert capture(log, bitness, "faultReadNull", tmp_path, mode).returncode == 5
        assert reason(log) == "access violation (0xC0000005) in faultReadNull.dll"


def test_a_module_outside_ascii_is_named_as_on_the_disk(log, bitness, tmp_path):
    server = tmp_path / "Sérvër ✓ 😀.dll"
    server.write_bytes((SAMPLES / bitness / "faultReadNull.dll").read_bytes())
    assert capture(log, bitness, server, tmp_path).returncode == 5
    assert reason(log) == "access violation (0xC0000005) in Sérvër ✓ 😀.dll"


def test_a_caught_exception_is_no_crash(log, bitness, tmp_path):
    assert capture(log, bitness, "caught", tmp_path).returncode == 0
    assert reason(log) == ""
    # This process then ends itself, with the status that the fault would have given.
    assert capture(log, bitness, "caughtending", tmp_path).returncode == 5
    assert reason(log) == ""


def test_a_run_without_a_crash_has_no_reason(log, bitness, tmp_path):
    assert capture(log, bitness, "plain", tmp_path).returncode == 0
    assert log.read_bytes() == b""
    assert capture(log, bitness, "orphan", tmp_path).returncode == 255
    assert reason(log) == ""


def test_a_log_that_is_not_there_has_no_reason(log):
    assert reason(log) == ""


def test_a_crash_is_named_when_its_dialog_was_closed(log, display, tmp_path):
    """The dialog waits until somebody closes it."""
    closer = (
        'DISPLAY=$1; export DISPLAY; until window=$(xdotool search --name "^Error$"); do sleep 0.1; done;'
        ' until xdotool key --window "$window" Escape 2>/dev/null; sleep 0.2;'
        ' ! xdotool search --name "^Error$" >/dev/null; do :; done'
    )
    closing = subprocess.Popen(["/bin/bash", "-c", closer, "bash", display], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    result = capture(log, "x64", "faultReadNull", tmp_path, env=dict(os.environ, DISPLAY=display))
    closing.kill()
    closing.wait()
    assert (result.returncode, result.stdout, result.stderr) == (5, "", "")
    assert reason(log) == "access violation (0xC0000005) in faultReadNull.dll"


def test_the_commands_streams_and_status_are_its_own(log):
    result = observed(log, "/bin/bash", "-c", "printf 'no\\0line end'; printf 'a\\nb\\xff\\0' >&2; exit 42", text=False)
    assert (result.returncode, result.stdout, result.stderr) == (42, b"no\0line end", b"a\nb\xff\0")
    assert observed(log, "/bin/bash", "-c", "cat <<<word | cat").stdout == "word\n"
    assert observed(log, "/bin/bash", "-c", "kill -9 $$").returncode == 137


def test_what_a_windows_program_writes_to_its_standard_error_comes_through(log):
    result = observed(log, WINE, "cmd", "/c", "echo one 1>&2 & echo two 1>&2 & exit 7")
    assert (result.returncode, result.stdout, result.stderr.split()) == (7, "", ["one", "two"])


def test_the_observation_ends_with_the_command_although_its_children_hold_its_streams(log):
    assert observed(log, "/bin/bash", "-c", "sleep 600 & exit 3").returncode == 3


def test_a_stream_that_nobody_reads_is_no_failure(log):
    words = '"$@" 2> >(exec 0<&-)'
    result = bash(words, SESSION, "--ready", OBSERVED, log, "/bin/bash", "-c", "sleep 0.2; echo lost >&2; exit 9")
    assert result.returncode == 9


def test_a_command_that_is_not_there_gives_127(log):
    assert observed(log, "/no/such/command").returncode == 127
