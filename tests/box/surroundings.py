"""What a run has round it: folders, secrets, a process of the caller, listeners and a terminal. All of it is made for one
run, belongs to the user who runs it, and is gone afterwards."""

import contextlib
import os
import secrets
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests" / "scripts"))

from conftest import NOBODY, as_ordinary_user  # noqa: E402
from hosts import Key, Listener, SharedMemory, Terminal, own_addresses  # noqa: E402

# Users: the privileged one, and one without any rights. Who isn't root has the second one only.
PRIVILEGED, PLAIN = "root", "user"
USERS = [PRIVILEGED, PLAIN] if os.geteuid() == 0 else [PLAIN]

VARIABLE = "KEYREAP_INTRUDER_SECRET"
FILE_DESCRIPTOR, FOLDER_DESCRIPTOR = 200, 201


def number_of(user):
    """The number of a user."""
    return NOBODY if user == PLAIN and os.geteuid() == 0 else os.geteuid()


def words_of(user, *words):
    """The command, run as this user."""
    return as_ordinary_user(*words) if user == PLAIN else list(words)


def windows(path):
    return "Z:" + str(path).replace("/", "\\")


def first_disk():
    """The path and the number of a disk of this host."""
    lines = Path("/proc/partitions").read_text().split("\n")[2:]
    major, minor, _, name = next(line.split() for line in lines if line.strip())
    return "/dev/" + name, hex(int(major) << 8 | int(minor))


def group_file():
    """A file by which whoever may write to it leaves its group of processes."""
    return next(str(path) for path in sorted(Path("/sys/fs/cgroup").glob("**/cgroup.procs")))


class Surroundings:
    def __init__(self, user):
        self.user, self.owner = user, number_of(user)
        self.name = "keyreap-intruder." + secrets.token_hex(6)
        # The name of a process has at most 15 characters.
        self.process = "orphan" + secrets.token_hex(4)
        self.secret = "secret-" + secrets.token_hex(8)
        self.folder = Path(tempfile.mkdtemp(prefix="keyreap-box.", dir="/tmp"))
        self.folder.chmod(0o755)
        self.input, self.output, self.outside, self.home, self.other = map(
            self.made, ("input", "output", "outside", "home", "other")
        )
        self.closing, self.scattered = [], []
        self.make_files()
        self.places = {}
        self.place()

    def made(self, name):
        folder = self.folder / name
        folder.mkdir()
        os.chown(folder, self.owner, -1)
        return folder

    def give(self, path, text="", mode=0o600):
        """Makes a file of the user's."""
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)
        path.chmod(mode)
        os.chown(path, self.owner, -1)
        return path

    def scatter(self, folder):
        """A file of the user's in a folder of the host's."""
        path = self.give(Path(folder) / self.name, self.secret)
        self.scattered.append(path)
        return path

    def make_files(self):
        self.give(self.home / "secret", self.secret)
        self.give(self.input / "removable")
        for name in ("leading", "opened", "hard", "target", "renamed", "removable", "swapped"):
            self.give(self.outside / name, self.secret)
        for folder in (self.input, self.output):
            os.symlink(self.outside / "leading", folder / "leading")
        self.hide_other()

    def hide_other(self):
        """A cache of another user: with root's rights even a closed one can be read, without them only an open one."""
        other = self.other / ".cache" / "keyreap" / "secret"
        self.give(other, self.secret, 0o644)
        if os.geteuid() == 0:
            owner = NOBODY if self.user == PRIVILEGED else 0
            for path in (self.other, other):
                os.chown(path, owner, owner)
            self.other.chmod(0o700 if self.user == PRIVILEGED else 0o755)

    def listen(self, family, address):
        listener = Listener(family, address, self.secret)
        self.closing.append(listener.close)
        return listener

    def listen_at(self, path):
        """A socket of the user's."""
        path.parent.mkdir(parents=True, exist_ok=True)
        os.chown(path.parent, self.owner, -1)
        self.listen(socket.AF_UNIX, str(path))
        os.chown(path, self.owner, -1)
        self.scattered.append(path)
        return path

    def place(self):
        """The names that attempts use."""
        checkout = ROOT / "build" / self.name
        self.scattered += [checkout, Path("/tmp") / self.name, Path("/tmp") / (self.name + ".written")]
        disk, number = first_disk()
        self.places |= {
            **{name: getattr(self, name) for name in ("name", "process", "input", "output", "outside", "home", "other", "secret")},
            "checkout": checkout,
            "variable": VARIABLE,
            "disk": disk,
            "disknumber": number,
            "group": group_file(),
            "file": FILE_DESCRIPTOR,
            "folder": FOLDER_DESCRIPTOR,
            "written": "/tmp/%s.written" % self.name,
            "temporary": self.scatter("/var/tmp"),
            "memoryfile": self.scatter("/dev/shm"),
        }
        self.places |= {"card": name for _, name in socket.if_nameindex() if name != "lo"}
        self.place_listeners()
        self.place_victim()
        self.place_terminal()
        self.place_mount()
        number = secrets.randbits(30) | 1
        self.closing.append(SharedMemory(number, self.secret, self.owner).close)
        self.places["sharedkey"] = number
        key = Key(self.name, self.secret)
        self.closing.append(key.close)
        self.places |= {"keyring": 3} if key.is_there else {}

    def place_listeners(self):
        addresses = {"loopback4": (socket.AF_INET, "127.0.0.1"), "loopback6": (socket.AF_INET6, "::1")}
        addresses |= {"address%d" % (4 if family == socket.AF_INET else 6): (family, address) for family, address in own_addresses()}
        for name, (family, address) in addresses.items():
            self.places[name] = socket.inet_pton(family, address).hex()
            self.places[name + "port"] = self.listen(family, (address, 0)).port
        self.listen(socket.AF_UNIX, "\0" + self.name)
        server = Path("/tmp/.wine-%d" % self.owner) / ("server-" + self.name) / "socket"
        if not Path("/tmp/.X11-unix").exists():
            Path("/tmp/.X11-unix").mkdir()
            Path("/tmp/.X11-unix").chmod(0o1777)
        display = Path("/tmp/.X11-unix") / self.name
        server.parent.parent.mkdir(mode=0o700, exist_ok=True)
        os.chown(server.parent.parent, self.owner, -1)
        self.closing.append(lambda: shutil.rmtree(server.parent))
        self.places |= {"socket": self.listen_at(self.outside / "socket"), "wineserver": self.listen_at(server)}
        self.listen(socket.AF_UNIX, str(display))
        os.chown(display, self.owner, -1)
        self.scattered.append(display)
        self.places["display"] = display

    def place_victim(self):
        program = [sys.executable, "-B", Path(__file__).parent / "victim.py"]
        program = words_of(self.user, "/usr/bin/python3", *program[1:], self.secret, self.home / "secret", self.outside / "signalled")
        environment = {"PATH": os.environ["PATH"], VARIABLE: self.secret}
        victim = subprocess.Popen(program, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, env=environment, cwd="/")
        numbers = victim.stdout.readline().split()
        self.places |= dict(zip(("victim", "address", "descriptor"), numbers, strict=True))

        def end():
            victim.communicate()

        self.closing.append(end)

    def place_terminal(self):
        self.terminal = Terminal(self.owner)
        self.places["terminal"] = self.terminal.path
        self.closing.append(self.terminal.close)

    def place_mount(self):
        """Only root can make a read-only mount."""
        mount = self.places["mount"] = self.folder / "mount"
        mount.mkdir()
        if self.user == PRIVILEGED:
            subprocess.run(["mount", "-t", "tmpfs", "tmpfs", mount], check=True)
            subprocess.run(["mount", "-o", "remount,bind,ro", mount], check=True)
            self.closing.append(lambda: subprocess.run(["umount", "--lazy", mount], check=True))

    def orphans(self):
        """The numbers of the processes that the server left."""
        found = []
        for process in Path("/proc").glob("[0-9]*"):
            try:
                if (process / "comm").read_text().strip() == self.process:
                    found.append(int(process.name))
            except OSError:
                pass
        return found

    def end_orphans(self):
        while orphans := self.orphans():
            for orphan in orphans:
                with contextlib.suppress(ProcessLookupError):
                    os.kill(orphan, signal.SIGKILL)
            time.sleep(0.01)

    def close(self):
        self.end_orphans()
        for close in reversed(self.closing):
            close()
        for path in self.scattered:
            path.unlink(missing_ok=True)
        shutil.rmtree(self.folder)
