"""Usage, inside a Wine session: in_session.py PLAN RESULT

Measures whole processes. PLAN is a JSON file:
  {"prepare": [["word", ...], ...], "rounds": {"name": N, "": N},
   "cases": {"name": [["side", [["word", ...], ...]], ...]}}
The programs of "prepare" run first. A case is two or more sides that do the same in their own ways, a side one or
more programs in turn; "" tells the rounds of all cases that aren't named. RESULT becomes
  {"name": {"side": [seconds of each round]}}
The sides take turns, the other one first in every second round, after one round that isn't counted.
"""

import json
import subprocess
import sys
import time
from pathlib import Path

LIMIT = 300


def run(words):
    """Runs one program. A failure is nobody's time."""
    quiet = {"stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    status = subprocess.run(words, timeout=LIMIT, check=False, **quiet).returncode
    if status != 0:
        sys.exit("status %d of %s" % (status, " ".join(words)[:200]))


def seconds_of(programs):
    begin = time.perf_counter()
    for words in programs:
        run(words)
    return time.perf_counter() - begin


def measure(sides, rounds):
    """The seconds of every round by side."""
    times = {name: [] for name, _ in sides}
    for number in range(-1, rounds):
        for name, programs in sides if number % 2 == 0 else reversed(sides):
            taken = seconds_of(programs)
            if number >= 0:
                times[name].append(taken)
    return times


def main(plan_file, result_file):
    plan = json.loads(Path(plan_file).read_text())
    for words in plan["prepare"]:
        run(words)
    rounds = plan["rounds"]
    result = {name: measure(sides, rounds.get(name, rounds[""])) for name, sides in plan["cases"].items()}
    Path(result_file).write_text(json.dumps(result))


main(*sys.argv[1:])
