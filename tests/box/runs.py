"""Runs of ./keyreap over the hostile server, and over a good one."""

import atexit
import functools
import os
import shutil
import subprocess
import sys
import tempfile
import threading
import time
from dataclasses import dataclass, field
from pathlib import Path

from surroundings import FILE_DESCRIPTOR, FOLDER_DESCRIPTOR, PLAIN, ROOT, VARIABLE, Surroundings, number_of, words_of

sys.path.insert(0, str(ROOT / "tests" / "support"))

import regfile  # noqa: E402

# As Windows paths, without the drive.
SAMPLES = Path(os.environ["KEYREAP_SAMPLES"].removeprefix("Z:").replace("\\", "/"))

# Of a run, even on a busy host. A first run of a user makes the user's Wine files.
LONGEST_SECONDS = 60

IN_THE_BOX, WITHOUT_A_BOX = "require", "off"


@dataclass(frozen=True)
class Server:
    """The hostile server as `dll` or `exe`, in a bitness, run by a user."""

    kind: str
    bitness: str
    user: str

    def __str__(self):
        return "-".join((self.kind, self.bitness, self.user))


@dataclass
class Outcome:
    status: int
    errors: str
    results: dict = field(default_factory=dict)  # by the line's number
    breaches: dict = field(default_factory=dict)  # the results of the attempts that succeeded, by name
    is_ended: bool = True  # without help
    places: dict = field(default_factory=dict)
    left: list = field(default_factory=list)  # the server's processes that go on
    most: int = 0  # megabytes that they had at one time
    is_whole: bool = False  # the result is a file
    mode: int = 0  # its rights


def results_of(capture):
    """The results in a capture, by the line's number; none if the server has spoilt the file."""
    found = {}
    try:
        entries = regfile.parse(capture.read_bytes())
    except regfile.NotRead:
        return found
    for key, values in entries.items():
        parent, _, name = key.rpartition("\\")
        if parent.endswith("\\KeyreapIntruder"):
            found[int(name.split()[0])] = values["Result"][1].decode("utf-16-le").rstrip("\0")
    return found


@functools.cache
def cache():
    """The plain user's folder for Wine's files, which take a while to copy: one for all runs."""
    folder = Path(tempfile.mkdtemp(prefix="keyreap-cache.", dir="/tmp"))
    os.chown(folder, number_of(PLAIN), -1)
    atexit.register(shutil.rmtree, folder)
    return folder


def environment_of(surroundings, sandbox, variables):
    environment = {name: value for name, value in os.environ.items() if not name.startswith("KEYREAP_")}
    if surroundings.user == PLAIN:
        environment = {"PATH": os.environ["PATH"], "XDG_CACHE_HOME": str(cache())}
    own = {"HOME": str(surroundings.home), "KEYREAP_SANDBOX": sandbox, VARIABLE: surroundings.secret}
    return environment | own | variables


def in_descriptors(surroundings):
    """Opens what a careless caller leaves open."""
    opened = {FILE_DESCRIPTOR: surroundings.outside / "opened", FOLDER_DESCRIPTOR: surroundings.home}
    for number, path in opened.items():
        file = os.open(path, os.O_RDONLY if path.is_dir() else os.O_RDWR)
        os.dup2(file, number)
        os.close(file)
    return tuple(opened)


def megabytes_of(process):
    """The memory of a process; what it shares with others counts in part."""
    try:
        lines = Path("/proc/%d/smaps_rollup" % process).read_text().splitlines()
    except OSError:
        return 0
    return sum(int(line.split()[1]) for line in lines if line.startswith("Pss:")) // 1024


class Meter:
    """Measures the server's processes while a run goes on."""

    def __init__(self, surroundings):
        self.surroundings, self.most, self.is_stopped = surroundings, 0, threading.Event()
        self.thread = threading.Thread(target=self.measure)
        self.thread.start()

    def measure(self):
        while not self.is_stopped.wait(0.2):
            self.most = max(self.most, sum(map(megabytes_of, self.surroundings.orphans())))

    def stop(self):
        self.is_stopped.set()
        self.thread.join()
        return self.most


def has_ended(process, seconds):
    """Whether a run has ended by itself. What it prints fits into the pipes."""
    try:
        process.wait(seconds)
    except subprocess.TimeoutExpired:
        return False
    return True


def captured(surroundings, words, sandbox, variables, seconds=LONGEST_SECONDS):
    """Runs ./keyreap at the caller's terminal."""
    descriptors = in_descriptors(surroundings)
    words = words_of(surroundings.user, ROOT / "keyreap", "extreg", *words)
    process = subprocess.Popen(
        list(map(str, words)),
        stdin=surroundings.terminal.slave,
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        text=True,
        cwd="/",
        env=environment_of(surroundings, sandbox, variables),
        pass_fds=descriptors,
        start_new_session=True,
        preexec_fn=surroundings.terminal.become_own,
    )
    meter = Meter(surroundings)
    is_ended = has_ended(process, seconds)
    most, left = meter.stop(), surroundings.orphans()
    # Time for what they do after the run. They may be what keeps it from ending.
    time.sleep(0.2 if left else 0)
    surroundings.end_orphans()
    _, errors = process.communicate()
    for number in descriptors:
        os.close(number)
    surroundings.typed = surroundings.terminal.typed()
    return Outcome(process.returncode, errors, is_ended=is_ended, most=most, left=left)


def capture_good(user, sandbox=IN_THE_BOX):
    """The bytes that a run gives for servers that do no harm."""
    surroundings = Surroundings(user)
    try:
        results = [surroundings.output / (bitness + ".reg") for bitness in ("x64", "x86")]
        pairs = [(SAMPLES / result.stem / "plain.dll", result) for result in results]
        outcome = captured(surroundings, [word for pair in pairs for word in pair], sandbox, {})
        assert outcome.status == 0, outcome.errors
        return [result.read_bytes() for result in results]
    finally:
        surroundings.close()


def place_server(surroundings, server):
    file = SAMPLES / server.bitness / ("intruder." + server.kind)
    placed = surroundings.input / file.name
    placed.write_bytes(file.read_bytes())
    placed.chmod(0o755)
    os.chown(placed, surroundings.owner, -1)
    surroundings.places |= {"server": placed, "result": surroundings.output / "result.reg"}
    return placed


def run(server, choose, sandbox=IN_THE_BOX, variables={}, seconds=LONGEST_SECONDS):
    """One run, whose attempts are chosen by the places of its surroundings."""
    surroundings = Surroundings(server.user)
    try:
        placed = place_server(surroundings, server)
        attempts = choose(surroundings.places)
        lines = [attempt.line(surroundings.places) for attempt in attempts]
        surroundings.give(surroundings.input / "attempts.txt", "".join(line + "\n" for line in lines))
        result = surroundings.places["result"]
        outcome = captured(surroundings, (placed, result), sandbox, variables, seconds)
        outcome.is_whole = result.is_file() and not result.is_symlink()
        outcome.mode = result.stat().st_mode if outcome.is_whole else 0
        outcome.results = results_of(result) if outcome.is_whole else {}
        for number, attempt in enumerate(attempts, 1):
            answer = outcome.results.get(number, "")
            if attempt.succeeded(surroundings, answer):
                outcome.breaches[attempt.name] = answer
        outcome.places = surroundings.places
        return outcome
    finally:
        surroundings.close()
