"""Whole commands by the clock, each with a session of its own: what a person waits for."""

import os
import statistics
import subprocess
import time

from cases import ROOT, regsvr32

KEYREAP = ROOT / "keyreap"
# A person names a file of this machine.
MODULES = ROOT / "build" / "wine" / "base" / "drive_c" / "windows" / "system32"
# As Wine boots.
SESSION = [ROOT / "scripts" / "wine-session.sh", "--ready", "--no-display", "--all-services"]


def seconds_of(words, **variables):
    begun = time.monotonic()
    environment = {**os.environ, **variables}
    subprocess.run([str(word) for word in words], check=True, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, env=environment)
    return time.monotonic() - begun


def capture(work, module, **variables):
    return seconds_of([KEYREAP, "extreg", MODULES / module, work / "command.reg", "keyRedir"], **variables)


def sides_of(work, module):
    return {
        "boxed": lambda: capture(work, module, KEYREAP_SANDBOX="require"),
        "open": lambda: capture(work, module, KEYREAP_SANDBOX="off"),
        "regsvr32": lambda: seconds_of([*SESSION, *regsvr32(module)]),
    }


def command_times(work, module, rounds):
    """Medians of the sides, which take turns. The first round makes what is missing, and isn't counted."""
    sides = sides_of(work, module)
    times = {name: [] for name in sides}
    for number in range(rounds + 1):
        for name, side in sides.items():
            taken = side()
            if number > 0:
                times[name].append(taken)
    return {name: statistics.median(all) for name, all in times.items()}


def command_rows(table, sizes, work):
    module = sizes.modules[len(sizes.modules) // 2]
    times = command_times(work, module, sizes.rounds)
    name = "`./keyreap`, one server, `keyRedir`; regsvr32 in a session of its own"
    table.add(name, "ms", times["boxed"] * 1e3, times["regsvr32"] * 1e3, at_most=1.2)
    # A box that costs nothing, or less, has a ratio of 0.
    cost = max(0.0, times["boxed"] - times["open"]) * 1e3
    table.add("what the box costs a run of `./keyreap`; 30 ms", "ms", cost, 30, at_most=1)
