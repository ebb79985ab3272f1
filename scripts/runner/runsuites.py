"""Usage: runsuites.py [--preset NAME]... [--stage FOLDER] [--samples FOLDER] [--] [WORD...]
Runs the suites of tests that the words name, of programs that are built already: the end of ./test, which documents
the words and what is printed.
"""

import argparse
import os
import signal
import sys
from collections.abc import Callable, Iterator
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from execution import Interrupted, Outcome, Places, Runner
from reports import Counts
from suites import PRESETS, Suite, all_suites, chosen_suites

ROOT = Path(__file__).resolve().parents[2]

FAILED = 1
NO_SUITE = 125
INTERRUPTED = 130


def outcomes_of(suites: list[Suite], run: Callable[[Suite], Outcome]) -> Iterator[Outcome]:
    """In the order of the suites, side by side, one more than there are cores, since sessions mostly wait; then those that
    need the machine to themselves."""
    together = [suite for suite in suites if not suite.is_alone]
    with ThreadPoolExecutor(len(os.sched_getaffinity(0)) + 1) as pool:
        running = {suite: pool.submit(run, suite) for suite in sorted(together, key=lambda suite: not suite.is_long)}
        yield from (running[suite].result() for suite in together)
    yield from (run(suite) for suite in suites if suite.is_alone)


def line_of(outcome: Outcome) -> str:
    name, counts = f"{outcome.suite.name:40}", outcome.counts
    if counts.failed == 0:
        return f"ok    {name} {counts.passed:5} passed {outcome.seconds:4} s\n"
    return f"FAIL  {name} {counts.passed:5} passed, {counts.failed} failed {outcome.seconds:4} s\n"


def text_of(outcome: Outcome) -> str:
    """Its line, the whole output if it failed, and its own report."""
    text = line_of(outcome)
    if outcome.counts.failed > 0:
        lines = outcome.log.read_text(encoding="utf-8", errors="replace").splitlines()
        text += "".join(f"    {line}\n" for line in lines)
    if outcome.summary.exists():
        text += outcome.summary.read_text(encoding="utf-8", errors="replace")
    return text


def run_suites(suites: list[Suite], words: list[str], runner: Runner) -> Counts:
    passed = failed = 0
    for outcome in outcomes_of(suites, lambda suite: runner.run(suite, suite.step(words))):
        print(text_of(outcome), end="", flush=True)
        passed += outcome.counts.passed
        failed += outcome.counts.failed
    return Counts(passed, failed)


def stop_on_signals(runner: Runner) -> None:
    def stop(*_: object) -> None:
        for number in (signal.SIGINT, signal.SIGTERM):
            signal.signal(number, signal.SIG_IGN)
        runner.stop()

    for number in (signal.SIGINT, signal.SIGTERM):
        signal.signal(number, stop)


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--preset", action="append", dest="presets")
    parser.add_argument("--stage", type=Path, default=ROOT / "build/stage")
    parser.add_argument("--samples", type=Path, default=ROOT / "build/samples")
    parser.add_argument("words", nargs="*")
    return parser.parse_args()


def main() -> int:
    options = arguments()
    suites = chosen_suites(all_suites(ROOT, tuple(options.presets or PRESETS)), options.words)
    if not suites:
        print("keyreap: no suite is called", *options.words, file=sys.stderr)
        return NO_SUITE
    runner = Runner(Places(ROOT, ROOT / "build/logs/test", options.stage, options.samples))
    stop_on_signals(runner)
    try:
        counts = run_suites(suites, options.words, runner)
    except Interrupted:
        return INTERRUPTED
    print(f"{counts.passed} passed, {counts.failed} failed")
    return 0 if counts.passed > 0 and counts.failed == 0 else FAILED


if __name__ == "__main__":
    sys.exit(main())
