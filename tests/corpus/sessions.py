"""Starts the Wine sessions of the corpus."""

import os
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from keeper import windows_path
from targets import BITNESSES, all_targets, sample, write_targets

ROOT = Path(__file__).resolve().parents[2]
WINE = ROOT / "build" / "wine"

# The number of sessions that share the targets of one bitness where each target is registered separately.
SHARDS = max(1, os.cpu_count() // 2)

# The folders and modes of the sessions that capture many servers with one command.
CAPTURES = {"keyRedir": "keyRedir", "again": "keyRedir", "both": "both"}

# The modes whose results come from a trace.
TRACED = ("trace", "both")

# The parts of the targets that a session takes where each target is captured or registered alone: bitness, shard, shards.
PARTS = [(bitness, str(shard), str(SHARDS)) for bitness in BITNESSES.values() for shard in range(SHARDS)]

# The hosts, and the options of their sessions.
HOSTS = {"plain": ["--requests"], "strict": ["--requests", "--host", "strict"]}


def built_program(name, bitness):
    return windows_path(ROOT / "build") + "\\" + bitness + "\\tests\\" + name


def chosen_targets(step):
    folders = {
        "x64": next(Path("/usr/lib").glob("*/wine/x86_64-windows")),
        "x86": WINE / "modules/usr/lib/i386-linux-gnu/wine/i386-windows",
    }
    return sample(all_targets(folders, base_drive()), step)


def base_drive():
    """Drive C: at the start of every session."""
    return WINE / "base" / "drive_c"


class Sessions:
    """The sessions that capture targets into one folder, and those that register them there. Each session has `options`."""

    def __init__(self, folder, targets, *options):
        self.folder, self.list, self.options = folder, folder / "targets.json", options
        self.keeper = built_program("registrykeeper.exe", "x64")
        self.keyreap = os.environ["KEYREAP_STAGE"] + "\\x64\\Keyreap.exe"
        folder.mkdir(parents=True, exist_ok=True)
        write_targets(self.list, targets)

    def session(self, options, script, *words):
        session = [ROOT / "scripts" / "wine-session.sh", "--ready", "--no-display", *self.options, *options]
        session += ["--box", "--scripts", "--write", self.folder]
        command = [*session, sys.executable, Path(__file__).with_name(script), self.list, *words]
        subprocess.run(command, stdin=subprocess.DEVNULL, check=True)

    def capture(self, folder, mode):
        options = [] if mode == "keyRedir" else ["--requests"]
        self.session(options, "capture_targets.py", self.keyreap, self.keeper, self.folder / folder, mode)

    def trace(self, mode, part):
        """Captures each target of a part from the same registry."""
        words = [self.keyreap, self.keeper, self.folder / mode, mode, *part]
        self.session(["--requests"], "trace_targets.py", *words)

    def register(self, part):
        programs = [self.keeper, built_program("loaderror.exe", part[0])]
        folders = [self.folder / "keyRedir", self.folder / "registered"]
        self.session([], "register_targets.py", *programs, *folders, *part)


def run_proofs(folder, targets):
    """Runs the sessions that produce everything that the proofs compare, as many in parallel as there are cores."""
    sessions = Sessions(folder, targets, "--empty-classes")
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        captures = [pool.submit(sessions.capture, *names) for names in CAPTURES.items()]
        traces = [pool.submit(sessions.trace, "trace", part) for part in PARTS]
        captures[0].result()
        registrations = [pool.submit(sessions.register, part) for part in PARTS]
        for job in [*captures, *traces, *registrations]:
            job.result()


def run_hosts(folder, targets, of_a_node):
    """Captures on the host as it is and on the strict one, into a folder for each host. The servers `of_a_node` are 32-bit
    modules. They are also captured in the registry of a fresh prefix, since Wine has no node Wow6432Node for the classes
    where these are empty."""
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        jobs = []
        for host, options in HOSTS.items():
            sessions = Sessions(folder / host, targets, "--empty-classes", *options)
            jobs.append(pool.submit(sessions.capture, "keyRedir", "keyRedir"))
            jobs += [pool.submit(sessions.trace, mode, part) for mode in TRACED for part in PARTS]
            with_classes = Sessions(folder / host / "node", of_a_node, *options)
            jobs.append(pool.submit(with_classes.trace, "trace", ("x86", "0", "1")))
        for job in jobs:
            job.result()
