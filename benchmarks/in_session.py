"""Usage, inside a Wine session: in_session.py PLAN RESULT

Measures whole processes. PLAN is a JSON file:
  {"prepare": [["word", ...], ...], "rounds": {"name": N, "": N},
   "cases": {"name": [["side", [["word", ...], ...]], ...]}}
The programs of "prepare" run first. A case has two or more sides that do the same in different ways. A side is a
sequence of programs. "" is the number of rounds for all cases that aren't named. RESULT becomes
  {"name": {"side": [seconds of each round]}}
The sides take turns, in the opposite order in every second round.
"""

import json
import subprocess
import sys
import threading
import time
from pathlib import Path

LIMIT = 300
KEEPER = ["wine", "C:\\windows\\system32\\cmd.exe"]
TRIES = 3


def failed(words):
    """Runs one program; returns a description of a failure."""
    process = subprocess.Popen(words, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    # A wait with a time limit checks only now and then whether the program has ended.
    watchdog = threading.Timer(LIMIT, process.kill)
    watchdog.start()
    status = process.wait()
    watchdog.cancel()
    return "status %d of %s" % (status, " ".join(words)[:200]) if status != 0 else None


def seconds_of(programs):
    """A failed run has no time. Sometimes Wine itself fails to start a program, so there is another try."""
    for _ in range(TRIES):
        begin = time.perf_counter()
        failure = next(filter(None, map(failed, programs)), None)
        if not failure:
            return time.perf_counter() - begin
    sys.exit(failure)


def measure(sides, first, rounds):
    """The seconds of every round by side; those below 0 don't count."""
    times = {name: [] for name, _ in sides}
    for number in range(first, rounds):
        for name, programs in sides if number % 2 == 0 else reversed(sides):
            taken = seconds_of(programs)
            if number >= 0:
                times[name].append(taken)
    return times


def main(plan_file, result_file):
    plan = json.loads(Path(plan_file).read_text())
    rounds, result = plan["rounds"], {}
    # A program that waits for its input keeps Wine's own processes running between the others.
    with subprocess.Popen(KEEPER, stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL):
        seconds_of(plan["prepare"])
        for name, sides in plan["cases"].items():
            # A case with its own number of rounds is long, and needs no warm-up.
            result[name] = measure(sides, 0, rounds[name]) if name in rounds else measure(sides, -1, rounds[""])
    Path(result_file).write_text(json.dumps(result))


main(*sys.argv[1:])
