"""A farm of three hosts (examples/farm) that have the package, an sshd and a key, and nothing else. One of them dies in the
run, and one is slow. Each server's capture is there once, and is that of this machine alone.

Only a whole run (./test hosts) has the minutes that the hosts take; it captures every module of the corpus."""

import os
import re
import shutil
import subprocess
import sys
import time
from collections import Counter
from pathlib import Path

import pytest
from conftest import ROOT, report
from farmhosts import Host
from roots import USER, Root, own_release

sys.path.insert(0, str(ROOT / "tests" / "corpus"))

from sessions import base_drive, chosen_targets  # noqa: E402
from targets import host_file  # noqa: E402

STEP = int(os.environ.get("KEYREAP_SAMPLE", "10"))
SCRIPT = ROOT / "examples" / "farm" / "capture-farm.sh"
SAMPLES = ROOT / "build" / "samples"
HOME = f"/home/{USER}"

# What one of our own servers shows, by its folder: files of this machine.
OWN = {
    "it's $one, ü/x64": ["x64/calculator.dll"],
    "beside/x86": ["x86/neighbour.dll", "x86/neighbourlib.dll"],
    "refusing/x64": ["x64/refusing.dll"],
}

CONFIG = """Host {0.name}
    HostName 127.0.0.1
    Port {0.port}
    User {0.user}
    IdentityFile {1}
    IdentitiesOnly yes
    StrictHostKeyChecking no
    UserKnownHostsFile /dev/null
    LogLevel ERROR
"""


def depended():
    """The packages that ours depends on."""
    text = (ROOT / "packaging" / "control.in").read_text(encoding="utf-8")
    return [word.split()[0] for word in re.search(r"^Depends: (.*)$", text, re.M)[1].split(", ")]


@pytest.fixture(scope="module")
def key(place):
    subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", place / "key"], check=True)
    return place / "key"


@pytest.fixture(scope="module")
def root(place, package, key):
    """A root with the package, an sshd and a key, whose user has captured once."""
    begun = time.monotonic()
    made = Root(own_release(), place / "farm", package.parent, "openssh-server", *depended())
    made.succeed("dpkg", "-i", f"/mnt/{package.name}")
    made.succeed("keykit", "capture", "/usr/lib/keyreap/stage/samples", "--out", "/tmp/first", user=True, folder=HOME)
    shutil.rmtree(made.path("/tmp/first"))
    shutil.copy(key.with_suffix(".pub"), made.path(HOME) / "authorized_keys")
    made.succeed("install", "-D", "-m", "600", "authorized_keys", ".ssh/authorized_keys", user=True, folder=HOME)
    report(f"a root for the hosts of a farm in {time.monotonic() - begun:.0f} s")
    yield made
    made.remove()


class Farm:
    def __init__(self, root, place, key):
        delays = {"quick": 0, "dying": 0, "slow": 1}
        self.folder = place / "hosts"
        self.hosts = {name: Host(root, self.folder / name, name, USER, delay) for name, delay in delays.items()}
        (self.folder / "config").write_text("".join(CONFIG.format(host, key) for host in self.hosts.values()))
        (self.folder / "hosts.txt").write_text("".join(name + "\n" for name in delays))

    def begin(self, servers, out, *words):
        command = [SCRIPT, *words, self.folder / "hosts.txt", servers, out, "--", "--mode", "keyRedir"]
        environment = {**os.environ, "PARALLEL_SSH": f"ssh -F {self.folder / 'config'}"}
        return subprocess.Popen(command, env=environment, stdin=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)

    def end(self):
        for host in self.hosts.values():
            host.kill()


@pytest.fixture(scope="module")
def farm(root, place, key):
    found = Farm(root, place, key)
    yield found
    found.end()


@pytest.fixture(scope="module")
def servers(tmp_path_factory):
    """A folder for each server, with what is beside it."""
    folder = tmp_path_factory.mktemp("servers")
    files = {f"{target.bitness}/{target.name}": [host_file(target.path, base_drive())] for target in chosen_targets(STEP) if target.kind == "module"}
    files |= {name: [SAMPLES / file for file in own] for name, own in OWN.items()}
    for name, found in files.items():
        (folder / name).mkdir(parents=True)
        for file in found:
            shutil.copy(file, folder / name)
    return folder


class Run:
    def __init__(self, out, status, errors, seconds):
        self.out, self.status, self.seconds = out, status, seconds
        self.errors = sorted(errors.splitlines())

    def captures(self):
        return {file.relative_to(self.out).as_posix(): file.read_bytes() for file in sorted(self.out.rglob("*.reg"))}


def alone(servers, out):
    """What this machine captures by itself."""
    begun = time.monotonic()
    result = subprocess.run([ROOT / "keykit", "capture", servers, "--out", out, "--mode", "keyRedir"], capture_output=True, text=True)
    return Run(out, result.returncode, result.stderr, time.monotonic() - begun)


@pytest.fixture(scope="module")
def lone(servers, tmp_path_factory):
    return alone(servers, tmp_path_factory.mktemp("lone"))


def log_of(out):
    """Number, host and status of each job that the log has."""
    log = out / ".capture-farm" / "log"
    lines = log.read_text().splitlines()[1:] if log.exists() else []
    return [(int(fields[0]), fields[1], int(fields[6])) for fields in (line.split("\t") for line in lines)]


@pytest.fixture(scope="module")
def spread(farm, servers, tmp_path_factory):
    """What the farm captures; a host dies when it has done a job and is at another one."""
    out = tmp_path_factory.mktemp("farm")
    begun = time.monotonic()
    process = farm.begin(servers, out)
    while process.poll() is None and "dying" not in [host for _, host, _ in log_of(out)]:
        time.sleep(0.05)
    time.sleep(0.5)
    farm.hosts["dying"].kill()
    _, errors = process.communicate()
    return Run(out, process.returncode, errors, time.monotonic() - begun)


def test_the_package_brings_what_a_host_needs_of_the_script():
    assert "bubblewrap" in depended()
    assert "parallel" not in depended()


@pytest.mark.whole
def test_a_host_has_no_gnu_parallel(root):
    assert root.run("bash", "-c", "command -v keykit && ! command -v parallel").returncode == 0


def made_up(first, second):
    """The lines in which two captures of a server differ."""
    lines = [capture.decode("utf-16").splitlines() for capture in (first, second)]
    assert len(lines[0]) == len(lines[1])
    return {number for number, pair in enumerate(zip(*lines)) if pair[0] != pair[1]}


@pytest.mark.whole
def test_every_capture_is_there_once_and_is_that_of_a_lone_run(spread, lone, servers, tmp_path):
    """A server that makes up a name differs from itself, too."""
    ours, theirs = spread.captures(), lone.captures()
    assert set(ours) == set(theirs)
    for name in [name for name in ours if ours[name] != theirs[name]]:
        (server,) = (servers / name).parent.glob("*")
        again = alone(server.parent, tmp_path / name).captures()
        assert made_up(ours[name], theirs[name]) == made_up(next(iter(again.values())), theirs[name]), name
    report(f"{len(ours)} captures by three hosts, of which one died, in {spread.seconds:.0f} s, by this machine alone in {lone.seconds:.0f} s")


@pytest.mark.whole
def test_every_job_is_in_the_log_once_and_was_done(spread):
    jobs = {int(path.name) for path in (spread.out / ".capture-farm" / "jobs").iterdir()}
    log = log_of(spread.out)
    assert Counter(number for number, _, _ in log) == Counter(jobs)
    assert {status for _, _, status in log} == {0}
    assert {host for _, host, _ in log} == {"quick", "dying", "slow"}
    undone = (spread.out / ".capture-farm" / "undone").read_text().splitlines()
    assert {line.split(":")[0] for line in undone} == {"dying"}
    report(f"jobs by host: {dict(Counter(host for _, host, _ in log))}, tries of the dead one: {len(undone) // 2}")


@pytest.mark.whole
def test_the_reasons_and_the_status_are_those_of_a_lone_run(spread, lone):
    assert (spread.status, lone.status) == (1, 1)
    reasons = sorted(line.partition(": ")[2] for line in spread.errors if not line.startswith("capture-farm: "))
    assert reasons == [line.replace(f"{lone.out}/", "") for line in lone.errors if line.startswith("keykit: ")]
    assert any("refusing.dll: its DllMain refuses to be loaded" in line for line in reasons)


@pytest.mark.whole
def test_nothing_is_left_on_the_hosts(spread, farm):
    for name in ("quick", "slow"):
        assert farm.hosts[name].changed("/tmp") == []
        assert set(farm.hosts[name].changed(HOME)) <= {".cache"}


@pytest.mark.whole
def test_an_interrupted_run_goes_on(spread, farm, servers, lone, tmp_path):
    some = tmp_path / "servers"
    some.mkdir()
    for folder in sorted((servers / "x64").iterdir())[:12]:
        shutil.copytree(folder, some / folder.name)
    process = farm.begin(some, tmp_path / "out", "--batch", "1")
    while len(log_of(tmp_path / "out")) < 3:
        time.sleep(0.05)
    process.terminate()
    process.communicate()
    done = [line for line in log_of(tmp_path / "out") if line[2] == 0]
    process = farm.begin(some, tmp_path / "out", "--batch", "1", "--resume")
    process.communicate()
    assert process.returncode == 0
    log = [line for line in log_of(tmp_path / "out") if line[2] == 0]
    assert log[: len(done)] == done
    assert sorted(number for number, _, _ in log) == list(range(1, 13))
    assert len(list((tmp_path / "out").rglob("*.reg"))) == 12
