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
    """The sessions that produce everything that the proofs compare, in one folder."""

    def __init__(self, folder, targets):
        self.folder, self.list = folder, folder / "targets.json"
        self.keeper = built_program("registrykeeper.exe", "x64")
        self.keyreap = os.environ["KEYREAP_STAGE"] + "\\x64\\Keyreap.exe"
        write_targets(self.list, targets)

    def session(self, options, script, *words):
        session = [ROOT / "scripts" / "wine-session.sh", "--ready", "--no-display", "--empty-classes", *options]
        command = [*session, sys.executable, Path(__file__).with_name(script), self.list, *words]
        subprocess.run(command, stdin=subprocess.DEVNULL, check=True)

    def capture(self, folder, mode):
        options = [] if mode == "keyRedir" else ["--requests"]
        self.session(options, "capture_targets.py", self.keyreap, self.keeper, self.folder / folder, mode)

    def shared(self, options, script, programs, folders, bitness, shard):
        words = [*programs, *(self.folder / folder for folder in folders), bitness, str(shard), str(SHARDS)]
        self.session(options, script, *words)

    def trace(self, *part):
        self.shared(["--requests"], "trace_targets.py", [self.keyreap, self.keeper], ["trace"], *part)

    def register(self, bitness, shard):
        programs = [self.keeper, built_program("loaderror.exe", bitness)]
        self.shared([], "register_targets.py", programs, ["keyRedir", "registered"], bitness, shard)

    def run(self):
        """Runs as many sessions in parallel as there are cores."""
        parts = [(bitness, shard) for bitness in BITNESSES.values() for shard in range(SHARDS)]
        with ThreadPoolExecutor(os.cpu_count()) as pool:
            captures = [pool.submit(self.capture, *names) for names in CAPTURES.items()]
            traces = [pool.submit(self.trace, *part) for part in parts]
            captures[0].result()
            registrations = [pool.submit(self.register, *part) for part in parts]
            for job in [*captures, *traces, *registrations]:
                job.result()
