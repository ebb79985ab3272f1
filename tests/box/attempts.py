"""What a hostile server tries: the line of each attempt, what proves that it succeeded, and who succeeds without a box. Names
in braces are places of its surroundings."""

from dataclasses import dataclass
from pathlib import Path
from typing import Callable

from surroundings import PLAIN, PRIVILEGED

MARK = b"intruder"

EVERYBODY = {PRIVILEGED, PLAIN}
ROOT_ONLY = {PRIVILEGED}
NOBODY = set()

NEEDS_ROOT = "only a privileged process may"
NEEDS_SIGHT = "the namespaces of a plain user's run keep it from the caller's other processes even without a box"
HOST_DECIDES = "some hosts refuse it to everybody"


@dataclass(frozen=True)
class Attempt:
    name: str
    words: tuple
    succeeded: Callable
    outside: set  # the users for whom it succeeds without a box
    reason: str = ""  # why not for the others
    ceiling: str = ""  # what it exceeds

    def line(self, places):
        return "\t".join(word.format(**places) for word in self.words)


# Proofs: functions of the surroundings and the result that the server wrote.


def done(_, result):
    return result.startswith("done")


def got_secret(surroundings, result):
    return surroundings.secret in result


def wrote(path):
    """The file ends with the mark, on the host."""

    def proof(surroundings, _):
        file = Path(path.format(**surroundings.places))
        return file.exists() and file.read_bytes().rstrip().endswith(MARK)

    return proof


def is_gone(path):
    return lambda surroundings, _: not Path(path.format(**surroundings.places)).exists()


def appeared(path):
    return lambda surroundings, _: Path(path.format(**surroundings.places)).exists()


def is_privileged(surroundings, _):
    """Whoever may start the result does so as somebody else."""
    return surroundings.places["result"].stat().st_mode & 0o6000 != 0


def typed(text):
    return lambda surroundings, _: text in surroundings.typed


def reads(name, path, outside=EVERYBODY, reason=""):
    return Attempt("reads " + name, ("read", path), got_secret, outside, reason)


def writes(name, path, kind="write", outside=EVERYBODY, reason=""):
    return Attempt("writes " + name, (kind, path), wrote(path), outside, reason)


def opens(name, path, how, outside=ROOT_ONLY, reason=NEEDS_ROOT):
    return Attempt("opens " + name, ("open", path, how), done, outside, reason)


def connects(name, *words):
    return Attempt("connects to " + name, words, got_secret, EVERYBODY)


def types(name, terminal):
    text = "typed at " + name
    return Attempt("types at " + name, ("type", terminal, text), typed(text), NOBODY, HOST_DECIDES)


def privileged(name, *words, outside=ROOT_ONLY, reason=NEEDS_ROOT):
    return Attempt(name, words, done, outside, reason)


READING = [
    reads("a file of the caller's home", "{home}/secret"),
    reads("another user's cache", "{other}/.cache/keyreap/secret"),
    reads("a file in the host's /var/tmp", "{temporary}"),
    reads("a file in the host's /dev/shm", "{memoryfile}"),
    reads("through a link in the output folder", "{output}/leading"),
    reads("through a link in the input folder", "{input}/leading"),
    reads("through the folder above its input", "{input}/../home/secret"),
    reads("by the root of a process of the caller", "/proc/{victim}/root{home}/secret", ROOT_ONLY, NEEDS_SIGHT),
    reads("by the folder of a process of the caller", "/proc/{victim}/cwd/secret", ROOT_ONLY, NEEDS_SIGHT),
    reads("an open file of a process of the caller", "/proc/{victim}/fd/{descriptor}", ROOT_ONLY, NEEDS_SIGHT),
    Attempt(
        "reads the environment of a process of the caller",
        ("search", "/proc/{victim}/environ", "{variable}="),
        got_secret,
        ROOT_ONLY,
        NEEDS_SIGHT,
    ),
    Attempt("reads the passwords", ("search", "/etc/shadow", "root:"), done, ROOT_ONLY, NEEDS_ROOT),
    Attempt("reads with Windows' functions", ("winread", "Z:{home}/secret"), got_secret, EVERYBODY),
    Attempt("reads by Wine's way to the host", ("winread", r"\\?\unix{home}/secret"), got_secret, EVERYBODY),
    Attempt("reads an open descriptor", ("readdescriptor", "{file}"), got_secret, EVERYBODY),
    Attempt("reads below an open folder", ("readbelow", "{folder}", "secret"), got_secret, EVERYBODY),
    Attempt("reads a file by its number", ("byhandle", "{input}/attempts.txt"), done, ROOT_ONLY, NEEDS_ROOT),
    Attempt("reads the caller's environment", ("variable", "{variable}"), got_secret, EVERYBODY),
    Attempt("finds the secret in an environment", ("processes", "environ", "{variable}="), got_secret, EVERYBODY),
    Attempt("sees the host's network card", ("search", "/proc/net/dev", "{card}"), done, EVERYBODY),
]

WRITING = [
    writes("beside its input", "{input}/beside"),
    writes("its own file", "{server}", "append"),
    writes("the list of attempts", "{input}/attempts.txt", "append"),
    writes("beside its output", "{output}/beside"),
    writes("through a link in the output folder", "{output}/leading", "append"),
    writes("elsewhere", "{outside}/new"),
    writes("into the caller's home", "{home}/new"),
    writes("into the checkout", "{checkout}", outside=ROOT_ONLY, reason="the checkout may be somebody else's"),
    writes("into the host's /tmp", "{written}"),
    Attempt("writes through its own link", ("link", "{outside}/target", "{output}/made"), wrote("{outside}/target"), EVERYBODY),
    Attempt(
        "writes through a hard link", ("hardlink", "{outside}/hard", "{output}/hard"), wrote("{outside}/hard"), EVERYBODY
    ),
    Attempt("writes with Windows' functions", ("winwrite", "Z:{outside}/drive"), wrote("{outside}/drive"), EVERYBODY),
    Attempt("writes by Wine's way to the host", ("winwrite", r"\\?\unix{outside}/way"), wrote("{outside}/way"), EVERYBODY),
    Attempt("writes to an open descriptor", ("writedescriptor", "{file}"), wrote("{outside}/opened"), EVERYBODY),
    Attempt("removes a file beside its input", ("remove", "{input}/removable"), is_gone("{input}/removable"), EVERYBODY),
    Attempt("removes a file elsewhere", ("remove", "{outside}/removable"), is_gone("{outside}/removable"), EVERYBODY),
    Attempt(
        "moves a file", ("rename", "{outside}/renamed", "{output}/renamed"), is_gone("{outside}/renamed"), EVERYBODY
    ),
]

PROCESSES = [
    Attempt("signals a process of the caller", ("kill", "{victim}", "10"), appeared("{outside}/signalled"), EVERYBODY),
    Attempt("traces a process of the caller", ("ptrace", "{victim}", "{address}"), done, ROOT_ONLY, NEEDS_SIGHT),
    Attempt("reads the memory file of a process", ("memory", "{victim}", "{address}"), got_secret, ROOT_ONLY, NEEDS_SIGHT),
    Attempt("reads the memory of a process", ("vmread", "{victim}", "{address}"), got_secret, ROOT_ONLY, NEEDS_SIGHT),
    Attempt("takes a descriptor of a process", ("borrow", "{victim}", "{descriptor}"), got_secret, ROOT_ONLY, NEEDS_SIGHT),
    Attempt("sees a process of the caller", ("processes", "cmdline", "{home}/secret"), done, EVERYBODY),
    Attempt(
        "starts the shell", ("execute", "/bin/sh", "-c", "echo intruder >{outside}/shell"), done, EVERYBODY
    ),
    Attempt(
        "starts the shell by CreateProcess",
        ("winstart", r"\\?\unix\bin\sh", 'sh -c "echo intruder >{outside}/started"'),
        wrote("{outside}/started"),
        EVERYBODY,
    ),
    Attempt("starts a program of the host", ("execute", "/usr/bin/env"), done, EVERYBODY),
    types("the terminal", "/dev/tty"),
    types("the terminal by its path", "{terminal}"),
    types("the standard input", "0"),
]

PRIVILEGES = [
    privileged("makes a namespace of users", "unshare", "0x10000000", outside=NOBODY, reason=HOST_DECIDES),
    privileged("makes a namespace of mounts", "unshare", "0x20000"),
    privileged("makes a namespace of processes", "unshare", "0x20000000"),
    privileged("makes a namespace of the network", "unshare", "0x40000000"),
    privileged("enters the namespace of a process", "setns", "/proc/{victim}/ns/mnt"),
    privileged("mounts a file system", "mount", "tmpfs", "/tmp"),
    privileged("mounts the processes", "mount", "proc", "/tmp"),
    privileged("mounts a folder elsewhere", "bind", "{input}", "/tmp"),
    privileged("makes mounts writable", "remountall"),
    Attempt("makes a mount writable", ("remount", "{mount}", "{mount}/file"), wrote("{mount}/file"), ROOT_ONLY, NEEDS_ROOT),
    Attempt(
        "makes its input's folder writable",
        ("remount", "{input}", "{input}/remounted"),
        wrote("{input}/remounted"),
        NOBODY,
        "without a box there is no mount of its own",
    ),
    privileged("changes the root", "chroot", "/tmp"),
    privileged("makes the device of a disk", "mknod", "{input}/../made", "{disknumber}", outside=NOBODY, reason=HOST_DECIDES),
    privileged("makes the device of a disk in /tmp", "mknod", "/tmp/{name}", "{disknumber}", outside=NOBODY, reason=HOST_DECIDES),
    opens("the disk", "{disk}", "r", NOBODY, HOST_DECIDES),
    opens("the pattern of core files", "/proc/sys/kernel/core_pattern", "w"),
    opens("the system's emergency keys", "/proc/sysrq-trigger", "w", NOBODY, HOST_DECIDES),
    opens("its group of processes", "{group}", "w"),
]

NETWORK = [
    connects("the loopback", "tcp", "{loopback4}", "{loopback4port}"),
    connects("the loopback by IPv6", "tcp", "{loopback6}", "{loopback6port}"),
    connects("an address of the host", "tcp", "{address4}", "{address4port}"),
    connects("an IPv6 address of the host", "tcp", "{address6}", "{address6port}"),
    connects("an abstract socket", "abstract", "{name}"),
    connects("a socket by its path", "socket", "{outside}/socket"),
    connects("a Wine server of the caller", "socket", "{wineserver}"),
    connects("a display", "socket", "{display}"),
    # 40 is the family by which a virtual machine reaches its host, and its processes each other.
    privileged("makes a socket past the network", "family", "40", outside=NOBODY, reason="not every kernel has this family"),
    privileged("makes one by a call of 32 bits", "family32", "40", outside=NOBODY, reason="not every kernel has it, or such calls"),
    privileged("finds a keyring by a call of 32 bits", "keyring32", outside=NOBODY, reason="not every kernel has it, or such calls"),
    Attempt("reads a key of the caller's session", ("key", "{keyring}", "{name}"), got_secret, EVERYBODY),
    Attempt("reads shared memory", ("shared", "{sharedkey}"), got_secret, EVERYBODY),
    privileged("receives all packets", "packets"),
    privileged("sends raw packets", "rawsocket"),
]


def takes(name, ceiling, *words):
    return Attempt("takes " + name, words, done, EVERYBODY, ceiling="KEYREAP_BOX_" + ceiling)


# Each exceeds one of the ceilings, and is made in a run of its own.
CEILINGS = {"KEYREAP_BOX_MEMORY": "600", "KEYREAP_BOX_DISK": "100", "KEYREAP_BOX_PROCESSES": "200"}
RESOURCES = [
    takes("memory", "MEMORY", "allocate", "1200"),
    takes("memory by a file without a path", "MEMORY", "memoryfile", "1200"),
    Attempt(
        "takes memory by shared segments",
        ("segments", "1200"),
        done,
        NOBODY,
        "without a box the memory would stay taken after the test",
        "KEYREAP_BOX_MEMORY",
    ),
    takes("memory by many processes", "MEMORY", "outlive", "{process}", "8", "40", "large"),
    takes("the disk of /tmp", "DISK", "fill", "/tmp/{name}", "300"),
    takes("the disk of /dev/shm", "DISK", "fill", "/dev/shm/{name}", "300"),
    takes("the disk of its output", "DISK", "fill", "{result}", "300"),
    takes("the disk of drive C", "DISK", "winfill", r"C:\{name}", "300"),
    takes("processes", "PROCESSES", "outlive", "{process}", "8", "400", "plain"),
]


def outlives(name, count, kind):
    return Attempt("leaves " + name, ("outlive", "{process}", "6", str(count), kind), done, EVERYBODY)


# Processes that go on after the registration, each kind in a run of its own.
ENDS = [
    outlives("orphans that ignore signals", 3, "plain"),
    outlives("stopped processes", 3, "stopped"),
    outlives("processes that replace themselves", 3, "chain"),
    outlives("many processes", 150, "plain"),
]

# What one of them makes of the result when the program has written it.
SWAPS = [
    Attempt("replaces the result by a link", ("swap", "{process}", "6", "{result}", "{home}/secret"), done, EVERYBODY),
    Attempt("replaces the result by a pipe", ("swap", "{process}", "6", "{result}"), done, EVERYBODY),
    Attempt("makes the result a privileged program", ("keepprivileged", "{process}", "6", "{result}"), is_privileged, EVERYBODY),
]

# The program can't write over what the server has left in place of the result.
ENDING = [
    Attempt("leaves a privileged program", ("privileged", "{result}"), is_privileged, EVERYBODY),
    Attempt("ends the run", ("end",), done, NOBODY, "there is no result"),
]

# What every server may do. If these fail, so do the others, for no good reason.
HARMLESS = [
    Attempt("reads the list of attempts", ("read", "{input}/attempts.txt"), done, EVERYBODY),
    Attempt("finds the program", ("processes", "cmdline", "Keyreap.exe"), done, EVERYBODY),
    Attempt("reads the list with Windows' functions", ("winread", "Z:{input}/attempts.txt"), done, EVERYBODY),
]

ATTEMPTS = READING + WRITING + PROCESSES + PRIVILEGES + NETWORK


def possible_in(places):
    """The attempts whose places this host has: not every one has a network, IPv6 or keyrings."""
    found = []
    for attempt in ATTEMPTS:
        try:
            attempt.line(places)
        except KeyError:
            continue
        found.append(attempt)
    return found
