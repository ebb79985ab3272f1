"""Runs a suite: its command, its environment, the watchdog, and its end when the run is interrupted."""

import os
import subprocess
import threading
import time
from collections.abc import Iterable
from dataclasses import dataclass, replace
from pathlib import Path
from tempfile import TemporaryDirectory

from reports import Counts, counts_of, results_of
from suites import Kind, Suite

# How the variables begin that a suite's program may read in its box.
VARIABLES = ("KEYREAP_", "GTEST_")

# The status of timeout(1) when it ended the command.
TIMED_OUT = 124


class Interrupted(Exception):
    """The run was stopped before the suite had ended."""


@dataclass(frozen=True)
class Places:
    root: Path
    logs: Path
    stage: Path  # the staged program
    samples: Path  # the servers that tests capture

    def of(self, suite: Suite) -> "Places":
        """The second compiler's suites have a program and samples of their own."""
        if not suite.is_of_second_compiler:
            return self
        return replace(self, stage=self.root / "build/clang/stage", samples=self.root / "build/clang/samples")


@dataclass(frozen=True)
class Outcome:
    suite: Suite
    counts: Counts
    seconds: int
    log: Path
    summary: Path  # the suite's own report, if it writes one


def windows_path(path: Path) -> str:
    return "Z:" + str(path).replace("/", "\\")


def limit_of(suite: Suite, step: int) -> str:
    """The watchdog's seconds, more for a whole run. KEYREAP_SUITE_LIMIT sets another limit for all."""
    seconds = (1200 if suite.kind == Kind.PYTEST else 600) * (6 if step == 1 else 1)
    return os.environ.get("KEYREAP_SUITE_LIMIT", str(seconds))


def report_of(suite: Suite, folder: Path) -> Path:
    return folder / ("report.xml" if suite.kind == Kind.PYTEST else "report.json")


def command_of(suite: Suite, root: Path, share: str, report: Path, variables: Iterable[str]) -> list[str | Path]:
    if suite.kind == Kind.PYTEST:
        options = ["-q", "-p", "no:cacheprovider", "-c", "/dev/null", "-o", "xfail_strict=true", f"--junitxml={report}"]
        return ["/usr/bin/python3", "-B", "-s", "-m", "pytest", *options, "--rootdir", root, suite.file]
    if suite.kind == Kind.NATIVE:
        return [suite.file, "--gtest_color=no", f"--gtest_output=json:{report}"]
    session = [root / "scripts/wine-session.sh", "--ready", "--no-display", "--checked-heaps", "--share", share]
    requests = ["--requests"] if suite.kind == Kind.REQUESTS else []
    options = ["--gtest_color=no", f"--gtest_output=json:{windows_path(report)}"]
    return [*session, *requests, *box_of(root, report.parent, variables), "/usr/bin/wine", suite.file, *options]


def box_of(root: Path, results: Path, variables: Iterable[str]) -> list[str | Path]:
    """The tests' programs see the project and write their results, in a box like that of a run (scripts/box.sh). Some start
    scripts."""
    passed = [word for name in variables if name.startswith(VARIABLES) for word in ("--env", name)]
    return ["--box", "--scripts", "--see", root, "--write", results, *passed]


def environment_of(suite: Suite, places: Places, share: str, step: int, summary: Path) -> dict[str, str]:
    """The suite's variables. What it writes to the file KEYREAP_REPORT is shown after its line."""
    return os.environ | {
        "KEYREAP_SAMPLE": str(step),
        "KEYREAP_HOST": suite.host,
        "KEYREAP_REPORT": str(summary),
        "KEYREAP_SHARE": share,
        "KEYREAP_SHARE_UNC": r"\\server\share",
        "KEYREAP_SHARE_LOCAL": windows_path(Path(share)),
        "KEYREAP_STAGE": windows_path(places.stage / "bin"),
        "KEYREAP_SAMPLES": windows_path(places.samples),
        "KEYREAP_GOLDEN": windows_path(places.root / "tests/endtoend/golden"),
    }


class Runner:
    def __init__(self, places: Places) -> None:
        self._places = places
        self._lock = threading.Lock()
        self._running: set[subprocess.Popen[bytes]] = set()
        self._is_stopped = False

    def run(self, suite: Suite, step: int) -> Outcome:
        log = self._places.logs / f"{suite.name}.log"
        summary = log.with_suffix(".report")
        log.parent.mkdir(parents=True, exist_ok=True)
        summary.unlink(missing_ok=True)
        begin = time.monotonic()
        counts = self._counted(suite, step, log, summary)
        return Outcome(suite, counts, round(time.monotonic() - begin), log, summary)

    def stop(self) -> None:
        """Ends the suites that run, with their sessions; no further one starts."""
        with self._lock:
            self._is_stopped = True
            for process in self._running:
                process.terminate()

    def _counted(self, suite: Suite, step: int, log: Path, summary: Path) -> Counts:
        limit = limit_of(suite, step)
        # GoogleTest on Windows opens its report by a name in the system's code page, and the folder of the project may
        # have letters outside that.
        with (
            TemporaryDirectory(prefix="keyreap-test.", dir="/tmp") as folder,
            TemporaryDirectory(prefix="share.", dir=self._places.root / "build", ignore_cleanup_errors=True) as share,
        ):
            report = report_of(suite, Path(folder))
            environment = environment_of(suite, self._places.of(suite), share, step, summary)
            command = guarded(command_of(suite, self._places.root, share, report, environment), limit)
            status = self._status(command, log, environment)
            results = results_of(report)
        with log.open("a", encoding="utf-8") as output:
            output.write(remark(status, limit, results))
        return counts_of(results, status)

    def _status(self, command: list[str | Path], log: Path, environment: dict[str, str]) -> int:
        with self._lock, log.open("wb") as output:
            if self._is_stopped:
                raise Interrupted
            process = subprocess.Popen(
                command, stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT, env=environment
            )
            self._running.add(process)
        status = process.wait()
        with self._lock:
            self._running.remove(process)
            if self._is_stopped:
                raise Interrupted
        return status


def guarded(command: list[str | Path], limit: str) -> list[str | Path]:
    """The command with the watchdog, which has a process group of its own and passes on the signal that ends it. A run
    that was started in the background ignores interrupts; its tests must not."""
    return ["env", "--default-signal=INT,QUIT", "timeout", "-k", "20", limit, *command]


def remark(status: int, limit: str, results: list[bool]) -> str:
    """What the log can't show by itself."""
    if status == TIMED_OUT:
        return f"ended by the watchdog after {limit} s\n"
    if not results:
        return f"ended with status {status} and without a report of any test\n"
    return f"ended with status {status} although no test failed\n" if status != 0 and all(results) else ""
