"""examples/farm/capture-farm.sh: what it makes of its hosts' answers. Small scripts replace ssh and keykit, so that the tests choose
what a host does; tests/hosts has hosts with the package."""

import os
import pty
import signal
import subprocess
import time
from pathlib import Path

import pytest
from terminalshown import shown_at

ROOT = Path(__file__).resolve().parents[2]
SCRIPT = ROOT / "examples" / "farm" / "capture-farm.sh"

# A host is a folder with a keykit and a folder for temporary files, and has nothing of the sender's. Its script `act` can end a
# connection.
SSH = """#!/bin/bash
while [[ $1 == -* ]]; do shift 2; done
host={0}/$1
. "$host/act"
echo "$1" >>"$host/../connected"
env -i TMPDIR="$host/tmp" PATH="$host/bin:/usr/bin:/bin" \\
    bwrap --dev-bind / / --cap-add ALL --tmpfs {0}/sender --remount-ro {0}/sender sh -c "$2" \\
"""

# Captures each file *.dll: the capture has the server's path, the words of the call, and the names in the server's folder.
KEYKIT = """#!/bin/bash
folder=${!#} words=("${@:1:$#-1}")
. "${0%/*}/../captures"
[[ -n $(find "$folder" -name '*.dll') ]] || { echo "keykit: capture: there is no server in these folders"; exit 2; }
while IFS= read -r -d '' file; do
    name=${file#"$folder/"}
    mkdir -p "./$(dirname "./$name")"
    (cd "$(dirname "$file")" && printf '%s|' "$file" "${words[@]}" "SANDBOX=${KEYREAP_SANDBOX-}" * >"$OLDPWD/${name%.dll}.reg")
done < <(find "$folder" -name '*.dll' -print0)
printf '{\\n  "version": "%s"\\n}\\n' "${version:-1}" >../summary.json
exit "${status:-0}"
"""

ODD = ["a b/one.dll", "it's $(x)/\"q\".dll", "ü/ñ.dll", "-dash/-x.dll", "line\nend/two.dll", "back\\slash/*.dll", "top.dll"]


class Farm:
    def __init__(self, folder, *names):
        self.folder = folder
        self.servers = folder / "sender" / "some" / "servers"
        self.out = folder / "out"
        self.file = folder / "hosts.txt"
        self.ssh = folder / "ssh"
        self.file.write_text("# the hosts\n" + "".join(name + "\n" for name in names))
        self.program(self.ssh, SSH.format(folder))
        for name in names:
            for part in ("bin", "tmp"):
                (folder / name / part).mkdir(parents=True)
            self.program(folder / name / "bin" / "keykit", KEYKIT)
            self.let(name)

    @staticmethod
    def program(file, text):
        file.write_text(text)
        file.chmod(0o755)

    def let(self, name, act="", captures=""):
        """What a host does at a connection, and what its keykit does."""
        (self.folder / name / "act").write_text(act)
        (self.folder / name / "captures").write_text(captures)

    def add(self, *names):
        for name in names:
            (self.servers / name).parent.mkdir(parents=True, exist_ok=True)
            (self.servers / name).write_text(name)

    def command(self, *words, batch=1, options=()):
        return [SCRIPT, *words, "--batch", str(batch), self.file, self.servers, self.out, "--", *options]

    def environment(self, **variables):
        return {**os.environ, "PARALLEL_SSH": str(self.ssh), "HOME": str(self.folder), **variables}

    def run(self, *words, variables=None, **options):
        command = self.command(*words, **options)
        return subprocess.run(command, env=self.environment(**(variables or {})), capture_output=True, text=True)

    def captures(self):
        """The texts of all captures by their names, wherever they are."""
        return {file.relative_to(self.out).as_posix(): file.read_text() for file in self.out.rglob("*.reg")}

    def log(self):
        """Number, host and status of each job, in the order in which they ended."""
        log = self.out / ".capture-farm" / "log"
        lines = log.read_text().splitlines()[1:] if log.exists() else []
        return [(int(fields[0]), fields[1], int(fields[6])) for fields in (line.split("\t") for line in lines)]

    def left(self):
        return [path for name in ("one", "two") for path in (self.folder / name / "tmp").glob("*")]


@pytest.fixture
def farm(tmp_path):
    return Farm(tmp_path, "one", "two")


def test_every_server_is_captured_under_its_own_name_and_path(farm):
    farm.add(*ODD)
    result = farm.run()
    assert (result.returncode, result.stdout, result.stderr) == (0, "", "")
    captures = farm.captures()
    assert set(captures) == {name.removesuffix(".dll") + ".reg" for name in ODD}
    assert all(captures[name.removesuffix(".dll") + ".reg"].startswith(f"{farm.servers}/{name}|") for name in ODD)
    assert sorted(number for number, _, status in farm.log() if status == 0) == list(range(1, len(ODD) + 1))
    assert farm.left() == []


def test_a_server_has_all_of_its_folder_and_nothing_of_others(farm):
    farm.add("a/server.dll", "a/data.txt", "a/below/other.txt", "b/far.dll")
    assert farm.run().returncode == 0
    assert farm.captures()["a/server.reg"].endswith("|data.txt|server.dll|")


def test_options_and_the_box_of_the_caller_are_those_of_the_hosts(farm):
    farm.add("a/one.dll")
    farm.run(options=["--mode", "key Redir"], variables={"KEYREAP_SANDBOX": "require"})
    assert "|capture|--mode|key Redir|--json|../summary.json|SANDBOX=require|" in farm.captures()["a/one.reg"]


def test_folders_are_sent_in_batches(farm):
    farm.add(*(f"{number}/server.dll" for number in range(10)))
    assert farm.run(batch=4).returncode == 0
    assert len(farm.log()) == 3
    assert len(farm.captures()) == 10


def test_jobs_of_a_dead_host_are_done_by_another_one(farm):
    farm.add(*(f"{number}/server.dll" for number in range(6)))
    farm.let("one", act="echo 'no route to one' >&2; exit 255")
    result = farm.run()
    assert result.returncode == 0
    assert len(farm.captures()) == 6
    assert {(host, status) for _, host, status in farm.log()} == {("two", 0)}
    assert "capture-farm: one couldn't do " in result.stderr
    assert "one: no route to one\none: job " in (farm.out / ".capture-farm" / "undone").read_text()


@pytest.mark.parametrize("length", [0, 1000, 30000])
def test_no_part_of_half_an_answer_is_a_result(farm, length):
    """A whole answer has two captures of 20,000 bytes."""
    farm.add("a/one.dll", "a/two.dll")
    for name in ("one", "two"):
        farm.let(name, captures="words=(%s)" % (20000 * "x"))
    farm.program(farm.ssh, SSH.format(farm.folder) + "| head -c %d\n" % length)
    result = farm.run()
    assert result.returncode == 125
    assert "1 of 1 jobs were not done; --resume goes on with them" in result.stderr
    assert farm.captures() == {}
    farm.program(farm.ssh, SSH.format(farm.folder))
    assert farm.run("--resume").returncode == 0
    assert set(farm.captures()) == {"a/one.reg", "a/two.reg"}


def test_a_host_without_keykit_does_nothing(farm):
    farm.add("a/one.dll")
    for name in ("one", "two"):
        (farm.folder / name / "bin" / "keykit").unlink()
    result = farm.run()
    assert result.returncode == 125
    assert "keykit is not installed" in (farm.out / ".capture-farm" / "undone").read_text()


def test_a_server_that_fails_is_named_with_its_host_and_captured_again_by_resume(farm):
    farm.add("a/one.dll", "b/two.dll")
    for name in ("one", "two"):
        farm.let(name, captures='[[ ! -e $folder/a ]] || { status=1 && echo "keykit: a/one.dll: it refuses" >&2; }')
    result = farm.run()
    assert result.returncode == 1
    assert result.stderr in [f"{name}: keykit: a/one.dll: it refuses\n" for name in ("one", "two")]
    before = {number: (number, host, status) for number, host, status in farm.log()}
    for name in ("one", "two"):
        farm.let(name)
    (farm.folder / "connected").unlink()
    assert farm.run("--resume").returncode == 0
    assert len((farm.folder / "connected").read_text().split()) == 1
    assert sorted(number for number, _, _ in farm.log()) == sorted(before)


def test_folders_without_servers_fail_only_if_there_is_no_other(farm):
    farm.add("a/readme.txt")
    assert farm.run().returncode == 2
    farm.add("b/one.dll")
    assert farm.run().returncode == 0


def test_hosts_with_different_versions_are_named(farm):
    farm.add(*(f"{number}/server.dll" for number in range(6)))
    farm.let("one", act="sleep 0.3")
    farm.let("two", act="sleep 0.3", captures="version=2")
    result = farm.run()
    assert result.returncode == 0
    assert result.stderr == 'capture-farm: the hosts have different programs or Wines:\n"1"\n"2"\n'


def test_an_ended_run_leaves_nothing_and_is_resumed(farm):
    farm.add(*(f"{number}/server.dll" for number in range(8)))
    farm.let("one", captures="sleep 0.5")
    farm.let("two", captures="sleep 0.5")
    process = subprocess.Popen(farm.command(), env=farm.environment(), stderr=subprocess.PIPE)
    while len(farm.log()) < 2:
        time.sleep(0.05)
    process.send_signal(signal.SIGTERM)
    process.communicate()
    assert process.returncode == -signal.SIGTERM
    done = {number for number, _, status in farm.log() if status == 0}
    assert 0 < len(done) < 8
    (farm.folder / "connected").unlink()
    assert farm.run("--resume").returncode == 0
    assert len((farm.folder / "connected").read_text().split()) == 8 - len(done)
    assert len(farm.captures()) == 8
    assert sorted(number for number, _, status in farm.log() if status == 0) == list(range(1, 9))
    assert farm.left() == []


def test_two_runs_cannot_have_one_folder(farm):
    farm.add("a/one.dll")
    for name in ("one", "two"):
        farm.let(name, act="for ((i = 0; i < 200; ++i)); do [[ -e $host/go ]] || sleep 0.05; done")
    process = subprocess.Popen(farm.command(), env=farm.environment())
    while not (farm.out / ".capture-farm" / "hosts").exists():
        time.sleep(0.05)
    result = farm.run()
    for name in ("one", "two"):
        (farm.folder / name / "go").touch()
    assert (result.returncode, process.wait()) == (2, 0)
    assert result.stderr == f"capture-farm: {farm.out}: another run is at work there\n"


def test_a_run_with_other_servers_is_not_resumed(farm):
    farm.add("a/one.dll")
    assert farm.run("--resume").returncode == 2
    assert farm.run().returncode == 0
    assert farm.run("--resume").returncode == 0
    assert farm.run("--resume", options=["--mode", "trace"]).returncode == 2
    farm.add("b/two.dll")
    result = farm.run("--resume")
    assert result.returncode == 2
    assert "was one for other servers or other options" in result.stderr


@pytest.mark.parametrize("option", ["--out", "--json=x", "--resume"])
def test_options_that_a_host_cannot_have_are_refused(farm, option):
    farm.add("a/one.dll")
    result = farm.run(options=[option])
    assert result.returncode == 2
    assert f"{option} is no option for hosts" in result.stderr


REFUSED = {
    "": "usage: ",
    "hosts.txt sender": "usage: ",
    "hosts.txt sender out --mode both": "usage: ",
    "--frob hosts.txt sender out": "there is no --frob",
    "--batch 0 hosts.txt sender out": "--batch is '0', and has to be a number",
    "missing.txt sender out": "missing.txt: the hosts can't be read",
    "empty.txt sender out": "empty.txt: there is no host in it",
    "hosts.txt missing out": "missing: it is no folder that can be read",
    "hosts.txt empty out": "/empty has no file",
}


@pytest.mark.parametrize("words", REFUSED)
def test_words_that_say_nothing_are_refused(farm, words):
    farm.add("a/one.dll")
    (farm.folder / "empty.txt").write_text("# none\n")
    (farm.folder / "empty").mkdir()
    result = subprocess.run([SCRIPT, *words.split()], cwd=farm.folder, capture_output=True, text=True)
    assert (result.returncode, result.stdout) == (2, "")
    assert REFUSED[words] in result.stderr


def test_a_terminal_shows_how_far_the_run_is(farm):
    farm.add("a/one.dll", "b/two.dll")
    own, its = pty.openpty()
    process = subprocess.Popen(farm.command(), env=farm.environment(TERM="xterm"), stdin=its, stdout=its, stderr=its)
    os.close(its)
    printed = shown_at(own)
    assert process.wait() == 0
    assert "100%" in printed
