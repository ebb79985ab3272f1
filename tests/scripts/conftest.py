"""What the tests of the scripts share: the project's own tree, a small one to break, and a look at processes."""

import os
import shutil
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
SESSION = ROOT / "scripts" / "wine-session.sh"

sys.path.insert(0, str(ROOT / "scripts" / "runner"))


def run(*command, **options):
    """Runs a command to its end and returns its status and output."""
    options.setdefault("stdin", subprocess.DEVNULL)
    options.setdefault("text", True)
    return subprocess.run([str(word) for word in command], capture_output=True, timeout=600, **options)


def bash(script, *words, **options):
    """Runs a few lines of bash with words as $1, $2, ..."""
    return run("/bin/bash", "-c", script, "bash", *words, **options)


def windows(path):
    """A path of this machine as a Windows path."""
    return "Z:" + str(path).replace("/", "\\")


def until(condition):
    """Waits until the condition holds; the suite's watchdog ends a wait that takes too long."""
    while not condition():
        time.sleep(0.02)


def processes_of(prefix):
    """The numbers of the living processes that belong to a Wine prefix."""
    mark = b"WINEPREFIX=" + os.fsencode(prefix)
    found = []
    for folder in Path("/proc").iterdir():
        try:
            if folder.name.isdigit() and mark in (folder / "environ").read_bytes().split(b"\0"):
                found.append(int(folder.name))
        except OSError:
            pass
    return found


def is_locked(path):
    """Whether a process holds the lock of a file; the file may be missing."""
    return Path(path).exists() and run("flock", "-n", path, "true").returncode != 0


class Pool:
    """A private pool of Wine prefixes, so that a test knows which one a session gets."""

    def __init__(self, folder, size):
        self.folder = folder
        self.environment = dict(os.environ, KEYREAP_POOL=str(folder), KEYREAP_POOL_SIZE=str(size))
        self.environment.pop("DISPLAY", None)

    def prefix(self, number=1):
        return self.folder / str(number)

    def run(self, *words, **options):
        """Runs one session: options of wine-session.sh, if any, and the command."""
        return run(SESSION, *words, env=dict(self.environment, **options.pop("env", {})), **options)

    def start(self, *words, **options):
        """Starts one session and returns while it runs."""
        options.setdefault("stdout", subprocess.PIPE)
        return subprocess.Popen(
            [str(SESSION), *map(str, words)], env=self.environment, stdin=subprocess.DEVNULL, text=True, **options
        )


@pytest.fixture
def pool():
    folder = Path(tempfile.mkdtemp(prefix="pool.", dir=ROOT / "build"))
    yield Pool(folder, 1)
    shutil.rmtree(folder)


class Tree:
    """A copy of the scripts round the small project, in a folder with a blank and a letter outside ASCII."""

    def __init__(self, folder):
        self.folder = folder
        self.build = folder / "build"
        self.keyreap = folder / "keyreap"
        self.source = folder / "extract" / "main.cpp"
        shutil.copytree(ROOT / "tests" / "scripts" / "smallproject", folder, dirs_exist_ok=True)
        tools = ["tools/" + name for name in ("startrecorder", "observer", "capturecheck", "selfcheck", "box")]
        for name in ("scripts", *tools, "hostlogger", "etl", "platform/os", "platform/core/text"):
            shutil.copytree(ROOT / name, folder / name)
        (folder / "cmake").mkdir()
        for name in ("pe", "regmodel"):
            (folder / name).mkdir()
        shared = ("pe/checkedview", "pe/imageheaders", "pe/imagetables", "pe/resourcetree", "regmodel/straynames")
        checked = ["%s.%s" % (name, kind) for name in shared for kind in ("cpp", "h")]
        builds = ("CMakePresets.json", "cmake/linkmaps.cmake", "cmake/mingw.cmake", "cmake/mingw-clang.cmake")
        for name in ("keyreap", "keykit", "test", *builds, *checked):
            shutil.copy(ROOT / name, folder / name)
        self.borrow_wine()

    def borrow_wine(self):
        """Links what takes long to download and to make to that of the project's own tree."""
        (self.build / "wine").mkdir(parents=True)
        for name in ("modules", "base"):
            (self.build / "wine" / name).symlink_to(ROOT / "build" / "wine" / name)
        (self.build / "wine" / "base.lock").touch()
        subprocess.run(["cp", "-al", ROOT / "build" / "tools", self.build / "tools"], check=True)

    def run(self, *words, **options):
        return run(self.keyreap, *words, **options)

    def start(self, *words, **options):
        return subprocess.Popen(
            [str(self.keyreap), *map(str, words)],
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
            **options,
        )

    def words(self, *words, **options):
        """The arguments that the program receives, which it writes to a file that no box has."""
        file = self.folder / "words"
        environment = dict(os.environ, KEYREAP_WORDS=windows(file), KEYREAP_SANDBOX="off")
        result = self.run(*words, env=environment, **options)
        assert result.returncode == 0, result.stderr
        return file.read_bytes().decode("utf-16-le").splitlines()

    def edit(self, old, new):
        text = self.source.read_text()
        assert old in text
        self.source.write_text(text.replace(old, new))


# A user without any privilege.
NOBODY = 65534

# Mounts the folder $1 at its own path, below folders that everybody may enter, the first of which is $2.
OPEN_FOLDER = """
    cd / && hold=$(mktemp -d) && mount --bind "$1" "$hold" && mount -t tmpfs -o mode=755 tmpfs "$2" &&
    mkdir -p "$1" && mount --move "$hold" "$1" && rmdir "$hold" && shift 2 && exec "$@"
"""


def as_ordinary_user(*words):
    """The command, run by the caller or, if that is root, by NOBODY, who may not be allowed to enter the project's folder."""
    if os.geteuid() != 0:
        return list(words)
    command = ["setpriv", "--reuid=%d" % NOBODY, "--regid=%d" % NOBODY, "--clear-groups", *words]
    closed = next((folder for folder in reversed(ROOT.parents) if not folder.stat().st_mode & 0o001), None)
    return command if closed is None else ["unshare", "--mount", "bash", "-c", OPEN_FOLDER, "bash", ROOT, closed, *command]


def new_tree():
    return Tree(Path(tempfile.mkdtemp(prefix="trée of a test.", dir=ROOT / "build")))


@pytest.fixture
def tree():
    """A tree in which nothing is built yet."""
    made = new_tree()
    yield made
    shutil.rmtree(made.folder)


@pytest.fixture(scope="module")
def ready_tree():
    """A tree in which a first run has built the program; its tests don't change the sources."""
    made = new_tree()
    assert made.run("status", "0").returncode == 0
    yield made
    shutil.rmtree(made.folder)
