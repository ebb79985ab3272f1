"""Whole commands by the clock, each with a session of its own: what a person waits for."""

import os
import statistics
import subprocess
import sys
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from cases import ROOT, regsvr32, servers

KEYREAP = ROOT / "keyreap"
KEYKIT = ROOT / "keykit"
# A person names a file of this machine.
WINDOWS = ROOT / "build" / "wine" / "base" / "drive_c" / "windows"
MODULES = WINDOWS / "system32"
MODULES32 = WINDOWS / "syswow64"
# As Wine boots.
SESSION = [ROOT / "scripts" / "wine-session.sh", "--ready", "--no-display", "--all-services"]


def seconds_of(words, **variables):
    begun = time.monotonic()
    environment = {**os.environ, **variables}
    result = subprocess.run([str(word) for word in words], input="", capture_output=True, text=True, env=environment)
    if result.returncode != 0:
        sys.exit(f"bench: status {result.returncode} of {' '.join(map(str, words))[:200]}: {result.stderr[-2000:]}")
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


def each_alone(folder, modules, mode):
    """The seconds that a command for each module takes, as many at once as there are cores."""
    folder.mkdir()
    begun = time.monotonic()
    with ThreadPoolExecutor(len(os.sched_getaffinity(0))) as pool:
        words = [[KEYREAP, "extreg", module, folder / f"{number}.reg", mode] for number, module in enumerate(modules)]
        list(pool.map(seconds_of, words))
    return time.monotonic() - begun


def processor_seconds():
    """What the processors of this machine have worked, which is otherwise idle: the kernel counts few processes of a session for
    the command that began it."""
    user, nice, system, _, _, *interrupts = Path("/proc/stat").read_text(encoding="ascii").splitlines()[0].split()[1:8]
    return (int(user) + int(nice) + int(system) + sum(map(int, interrupts))) / os.sysconf("SC_CLK_TCK")


def of_many(work, modules, mode, number):
    """Seconds by the clock and of the processor for `keykit capture`, and by the clock for a command for each module."""
    begun = processor_seconds()
    taken = seconds_of([KEYKIT, "capture", "--mode", mode, "--out", work / f"many.{mode}.{number}", *modules])
    used = processor_seconds() - begun
    return taken, used, each_alone(work / f"alone.{mode}.{number}", modules, mode)


def many_rows(table, sizes, work, one):
    """Many modules of both bitnesses. `one` is what one alone takes with the other program, in seconds."""
    names = [file.name for file in servers()]
    names = names[:: max(1, len(names) // (sizes.commands // 2))][: sizes.commands // 2]
    modules = [folder / name for name in names for folder in (MODULES, MODULES32) if (folder / name).exists()]
    for mode in ("keyRedir", "both"):
        runs = [of_many(work, modules, mode, number) for number in range(sizes.command_rounds)]
        clock, used, alone = (statistics.median(figures) for figures in zip(*runs))
        name = f"{len(modules)} servers, each in a session, `{mode}`"
        table.add(f"{name}; `./keyreap` for each", "ms", clock * 1e3, alone * 1e3)
        # Three seconds for forty.
        aim = 75 * len(modules)
        table.add(f"the same; {aim} ms", "ms", clock * 1e3, aim, at_most=1)
        table.add("the same, each; regsvr32 in a session of its own", "ms", clock / len(modules) * 1e3, one * 1e3, at_most=1)
        table.add("the same, processor time of each; 150 ms", "ms", used / len(modules) * 1e3, 150, at_most=1)


def command_rows(table, sizes, work):
    module = sizes.modules[len(sizes.modules) // 2]
    times = command_times(work, module, sizes.rounds)
    name = "`./keyreap`, one server, `keyRedir`; regsvr32 in a session of its own"
    table.add(name, "ms", times["boxed"] * 1e3, times["regsvr32"] * 1e3, at_most=1.2)
    # A box that costs nothing, or less, has a ratio of 0.
    cost = max(0.0, times["boxed"] - times["open"]) * 1e3
    table.add("what the box costs a run of `./keyreap`; 30 ms", "ms", cost, 30, at_most=1)
    many_rows(table, sizes, work, times["regsvr32"])
