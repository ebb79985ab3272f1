"""Kills runs from the host, each in its own session, and lets the host disturb them: only the affected run fails. A
test run that is not about faults tries only every KEYREAP_SAMPLE-th moment."""

import os
import random
import shutil
import signal
import subprocess
import tempfile
import time
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
SESSION = ROOT / "scripts" / "wine-session.sh"
STEP = int(os.environ.get("KEYREAP_SAMPLE", "1"))

MODES = ["keyRedir", "both", "trace"]
WAYS = [(bitness, mode) for bitness in ("x64", "x86") for mode in MODES]
POINTS = ["loading", "registering", "unloading"]

HEADER = "Windows Registry Editor Version 5.00\r\n"
PLAIN = {
    "keyRedir": (ROOT / "tests" / "endtoend" / "golden" / "plain.reg").read_bytes(),
    "both": ("\ufeff" + HEADER + '\r\n[HKEY_CLASSES_ROOT\\Keyreap.Plain]\r\n@="plain"\r\n').encode("utf-16-le"),
}
PLAIN["trace"] = PLAIN["both"]


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


def until(condition):
    """Waits until the condition is met. The suite's watchdog ends a wait that takes too long."""
    while not condition():
        time.sleep(0.002)


class Runs:
    """Runs of the program in sessions that all use the same prefix, each from the same state."""

    def __init__(self, folder):
        self.folder = folder
        self.prefix = folder / "1"
        self.stops = folder / "stops"
        self.stops.mkdir()
        variables = {"KEYREAP_POOL": str(folder), "KEYREAP_POOL_SIZE": "1", "KEYREAP_STOPS": windows_path(self.stops)}
        self.environment = dict(os.environ, **variables)

    def start(self, bitness, mode, sample, result):
        program = os.environ["KEYREAP_STAGE"] + f"\\{bitness}\\Keyreap.exe"
        if "\\" not in str(sample):
            sample = os.environ["KEYREAP_SAMPLES"] + f"\\{bitness}\\{sample}"
        words = [program, "extreg", sample, windows_path(self.folder / result), mode]
        return subprocess.Popen(
            [SESSION, "--ready", "--no-display", "--requests", "/usr/bin/wine", *words],
            env=self.environment,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
            start_new_session=True,
        )

    def run(self, *words):
        return self.start(*words).wait(timeout=300)

    def result(self, name):
        path = self.folder / name
        return path.read_bytes() if path.exists() else None

    def program(self):
        """The process id of the program; None if it doesn't run."""
        mark = b"WINEPREFIX=" + os.fsencode(self.prefix)
        for process in Path("/proc").iterdir():
            try:
                if not process.name.isdigit() or b"Keyreap.exe" not in (process / "cmdline").read_bytes():
                    continue
                if b"wine-session" not in (process / "cmdline").read_bytes() and mark in (
                    process / "environ"
                ).read_bytes().split(b"\0"):
                    return int(process.name)
            except OSError:
                pass
        return None

    def temporary_files(self):
        """The trace logs of the running program. Only its own session sees its files."""
        drive = Path(f"/proc/{self.program()}/root{self.prefix}/drive_c")
        return sorted((drive / "users" / "keyreap").rglob("Temp/ETL*"))

    def assert_undisturbed(self, bitness, mode):
        assert self.run(bitness, mode, "plain.dll", "next.reg") == 0
        assert self.result("next.reg") == PLAIN[mode]
        (self.folder / "next.reg").unlink()


@pytest.fixture
def runs():
    folder = Path(tempfile.mkdtemp(prefix="faults.", dir=ROOT / "build"))
    yield Runs(folder)
    shutil.rmtree(folder)


def kill_program(runs, run):
    process = runs.program()
    if process is not None:
        os.kill(process, signal.SIGKILL)


def kill_script(runs, run):
    run.kill()


def kill_everything(runs, run):
    os.killpg(run.pid, signal.SIGKILL)


VICTIMS = [kill_program, kill_script, kill_everything]


@pytest.mark.parametrize("number", range(0, 50, STEP))
def test_a_run_killed_at_any_moment_does_not_disturb_the_next_one(runs, number):
    # A sample should have several ways and victims, too.
    turn = number // STEP
    bitness, mode = WAYS[turn % len(WAYS)]
    victim = VICTIMS[(turn + turn // len(WAYS)) % len(VICTIMS)]
    begin = time.monotonic()
    runs.assert_undisturbed(bitness, mode)
    duration = time.monotonic() - begin
    share = random.Random(number).random()
    run = runs.start(bitness, mode, "plain.dll", "killed.reg")
    time.sleep(duration * share)
    victim(runs, run)
    run.wait()
    assert PLAIN[mode].startswith(runs.result("killed.reg") or b"")
    runs.assert_undisturbed(bitness, mode)


def points():
    cases = [(*way, point) for way in WAYS for point in POINTS]
    return cases[:: min(STEP, 7)]


@pytest.mark.parametrize("bitness, mode, point", points())
def test_a_run_killed_at_a_stage_does_not_disturb_the_next_one(runs, bitness, mode, point):
    (runs.stops / f"{point}.hold").touch()
    run = runs.start(bitness, mode, "stopping.dll", "killed.reg")
    until((runs.stops / f"{point}.reached").exists)
    assert len(runs.temporary_files()) == (mode != "keyRedir")
    os.kill(runs.program(), signal.SIGKILL)
    assert run.wait() != 0
    assert runs.result("killed.reg") is None
    runs.assert_undisturbed(bitness, mode)


@pytest.mark.parametrize("bitness", ["x64", "x86"])
def test_a_full_temporary_directory_costs_the_trace(runs, bitness):
    """A full device replaces the log: the entries are missing from the result and are not removed."""
    (runs.stops / "registering.hold").touch()
    run = runs.start(bitness, "both", "stopping.dll", "out.reg")
    until((runs.stops / "registering.reached").exists)
    (log,) = runs.temporary_files()
    log.unlink()
    log.symlink_to("/dev/full")
    (runs.stops / "registering.hold").unlink()
    assert run.wait() == 0
    assert runs.result("out.reg") == ("\ufeff" + HEADER).encode("utf-16-le")
    runs.assert_undisturbed(bitness, "both")


@pytest.mark.parametrize("bitness", ["x64", "x86"])
def test_a_pipe_of_the_host_as_input_fails_the_run(runs, bitness):
    os.mkfifo(runs.folder / "pipe.dll")
    assert runs.run(bitness, "both", windows_path(runs.folder / "pipe.dll"), "out.reg") == 255
    assert runs.result("out.reg") is None
