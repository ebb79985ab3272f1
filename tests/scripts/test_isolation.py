"""The files of a session are private: no other session, not even one at the same time, sees what it writes on drive C:
or in its home folder. The tests run in each way that scripts/isolation.sh has."""

import json
import os
import shutil
import subprocess
import tempfile
from pathlib import Path

import pytest
from conftest import NOBODY, ROOT, SESSION, Pool, as_ordinary_user, is_locked, new_tree, run, until, windows

LISTING = ["/usr/bin/python3", "-B", Path(__file__).with_name("drivelisting.py")]

# How a session is started: with all rights, without the right to mount, and where nobody may mount.
NO_MOUNTS = ["setpriv", "--bounding-set=-sys_admin", "--inh-caps=-sys_admin"]
WAYS = {"mounts": ([], {}), "user namespace": (NO_MOUNTS, {}), "copies": ([], {"KEYREAP_ISOLATION": "copies"})}


class IsolatedPool(Pool):
    """Sessions that are started in one of the ways."""

    def __init__(self, folder, way):
        super().__init__(folder, 2)
        self.fresh = None
        self.prefix_words, variables = WAYS[way]
        self.environment.update(variables)

    def run(self, *words, **options):
        return run(*self.prefix_words, SESSION, *words, env=self.environment, **options)

    def start(self, *words):
        command = [*self.prefix_words, SESSION, *words]
        return subprocess.Popen(
            [str(word) for word in command],
            env=self.environment,
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            text=True,
        )

    def fresh_listing(self):
        """The files with which every session has to begin."""
        if self.fresh is None:
            self.fresh = self.listing()
        return self.fresh

    def listing(self):
        result = self.run(*LISTING)
        assert result.returncode == 0, result.stderr
        return json.loads(result.stdout)


@pytest.fixture(params=WAYS, scope="module")
def pool(request):
    folder = Path(tempfile.mkdtemp(prefix="pool.", dir=ROOT / "build"))
    yield IsolatedPool(folder, request.param)
    shutil.rmtree(folder)


def changed(before, after):
    return sorted(path for path in before.keys() | after.keys() if before.get(path) != after.get(path))


# Runs a command, prints which files its session sees afterwards, and waits until its input ends.
STAYING = '"$@" >&2; echo $?; "%s" -B "%s"; echo; read -r _' % (LISTING[0], LISTING[2])


class Writer:
    """A session that has run a command and has not ended."""

    def __init__(self, pool, *command):
        self.session = pool.start("bash", "-c", STAYING, "bash", *command)
        self.status = int(self.session.stdout.readline())
        self.sees = json.loads(self.session.stdout.readline())

    def end(self):
        self.session.communicate()


def assert_only_the_writer_sees_it(pool, paths, *command):
    """Of all paths that the command changes; `paths` are among them."""
    before = pool.fresh_listing()
    writer = Writer(pool, *command)
    meanwhile = pool.listing()
    writer.end()
    # This session gets the first free prefix of the pool, which was the writer's.
    later = pool.listing()
    assert writer.status == 0
    assert set(paths) <= set(changed(before, writer.sees))
    assert changed(before, meanwhile) == []
    assert changed(before, later) == []


PROFILE = ROOT / "build" / "wine" / "base" / "drive_c" / "users" / "keyreap"

# Where this Wine has the user's temporary files.
TEMPORARY = "Temp" if (PROFILE / "Temp").is_dir() else "AppData/Local/Temp"

# Folders of every kind; the server creates a file in each of them.
FOLDERS = [
    "windows", "windows/inf", "Program Files", "Program Files (x86)", "Program Files/Common Files", "ProgramData",
    "users/Public", "users/Public/Documents", "users/keyreap",
    *("users/keyreap/" + name for name in ("Contacts", "Desktop", "Documents", "Downloads", "Favorites", "Links", "Music",
                                           "Pictures", "Saved Games", "Searches", TEMPORARY, "Videos", "AppData/Local",
                                           "AppData/Roaming", "AppData/LocalLow")),
]  # fmt: skip


@pytest.mark.parametrize("bitness, system", [("x64", "system32"), ("x86", "syswow64")])
def test_what_a_server_writes_on_its_drive_is_seen_by_no_other_session(pool, tmp_path, bitness, system):
    program = os.environ["KEYREAP_STAGE"] + f"\\{bitness}\\Keyreap.exe"
    server = os.environ["KEYREAP_SAMPLES"] + f"\\{bitness}\\trespassing.dll"
    result = windows(tmp_path / "out.reg")
    paths = [f"windows/{system}/hlink.dll", *FOLDERS, *(folder + "/trespass.txt" for folder in FOLDERS)]
    assert_only_the_writer_sees_it(pool, paths, "wine", program, "extreg", server, result, "keyRedir")


def test_a_module_replaced_by_one_with_an_old_time_is_seen_by_no_other_session(pool, tmp_path):
    """CopyFileW keeps the file and sets the source's time, so neither the inode nor the time needs to show the change."""
    old = tmp_path / "old.dll"
    old.write_bytes(b"MZ")
    os.utime(old, (0, 1_000_000_000))
    target = "C:\\windows\\system32\\hlink.dll"
    copy = ["wine", "cmd", "/c", "copy", "/y", windows(old), target]
    assert_only_the_writer_sees_it(pool, ["windows/system32/hlink.dll"], *copy)


def test_what_is_written_through_the_host_is_seen_by_no_other_session(pool):
    script = """
        cd "$WINEPREFIX/drive_c" && rm -r "Program Files/Internet Explorer" && touch -d @5 users/keyreap &&
        chmod 700 windows/system32 && ln -sf / windows/win.ini && echo more >>windows/system32/kernel32.dll &&
        echo mine >"$HOME/mine" && mkdir -p "$HOME/Documents"
    """
    paths = ["windows/system32", "windows/win.ini", "windows/system32/kernel32.dll", "users/keyreap", "home"]
    assert_only_the_writer_sees_it(pool, paths, "bash", "-c", script)


def test_what_a_killed_session_wrote_is_seen_by_no_other_session(pool):
    before = pool.fresh_listing()
    script = 'echo more >>"$WINEPREFIX/drive_c/windows/system32/kernel32.dll"; echo mine >"$HOME/mine"'
    writer = Writer(pool, "bash", "-c", script)
    writer.session.kill()
    writer.session.wait()
    until(lambda: not any(is_locked(lock) for lock in pool.folder.glob("*.lock")))
    assert changed(before, pool.listing()) == []


def test_every_session_starts_with_an_empty_home_and_without_links(pool):
    listing = pool.listing()
    assert listing["home"] == []
    links = [path for path, properties in listing.items() if properties and str(properties[0]).startswith("0o12")]
    assert links == []


def may_mount(pool):
    """Whether the system gives such a caller a mount namespace, with or without a user namespace."""
    names = [["--mount"], ["--user", "--map-current-user", "--keep-caps", "--mount"]]
    return any(run(*pool.prefix_words, "unshare", *words, "true").returncode == 0 for words in names)


def test_drive_c_is_mounted_wherever_the_system_allows_it(pool):
    mounted = pool.run("bash", "-c", 'mountpoint -q "$WINEPREFIX/drive_c"').returncode == 0
    assert mounted == (may_mount(pool) and "KEYREAP_ISOLATION" not in pool.environment)


def test_what_sessions_share_is_read_only_in_a_namespace(pool):
    script = """
        mountpoint -q "$WINEPREFIX/drive_c" || exit 0
        for shared in base/top base/drive_c/windows/win.ini modules/usr pool; do
            ! touch "$1/build/wine/$shared" 2>/dev/null || exit
        done
    """
    assert pool.run("bash", "-c", script, "bash", ROOT).returncode == 0


def test_other_paths_are_the_same_inside(pool, tmp_path):
    """The current folder is the same too."""
    script = 'pwd; cat file; echo new >"$1/written"; stat -c %d:%i . "$1" /tmp /proc/self/cwd/..'
    (tmp_path / "file").write_text("word\n")
    inside = pool.run("bash", "-c", script, "bash", tmp_path, cwd=tmp_path).stdout
    assert inside == run("bash", "-c", script, "bash", tmp_path, cwd=tmp_path).stdout
    assert (tmp_path / "written").read_text() == "new\n"


def test_what_the_caller_mounts_is_seen_inside(pool, tmp_path):
    script = 'mount -t tmpfs tmpfs "$1" && echo word >"$1/file" && shift && exec "$@"'
    session = [*pool.prefix_words, SESSION, "cat", tmp_path / "file"]
    mounted = ["unshare", "--mount", "bash", "-c", script, "bash", tmp_path, *session]
    assert run(*mounted, env=pool.environment).stdout == "word\n"


def test_a_session_leaves_nothing_in_its_prefix(pool):
    """Where nobody may mount, only the copy of the drive beside the prefix is left."""
    assert pool.run("bash", "-c", 'echo >"$WINEPREFIX/drive_c/windows/left"; echo >"$HOME/left"').returncode == 0
    assert [path for path in pool.folder.glob("[0-9]/*")] == []


# An ordinary user, with a tree of its own


@pytest.fixture(scope="module")
def own_tree():
    """A tree with its own base. Both belong to a user without any privilege, or to the caller if that isn't root."""
    tree = new_tree()
    base = tree.build / "wine" / "base"
    base.unlink()
    shutil.copytree(ROOT / "build" / "wine" / "base", base, symlinks=True)
    if os.geteuid() == 0:
        run("chown", "-hR", "%d:%d" % (NOBODY, NOBODY), tree.folder)
    yield tree
    shutil.rmtree(tree.folder)


def in_own_tree(tree, *words, **options):
    return run(*as_ordinary_user(tree.folder / "scripts" / "wine-session.sh", "--ready", *words), **options)


IS_EMPTY = 'for part in common wine isolation; do source "$1/scripts/$part.sh"; done; is_empty "$2"'


@pytest.mark.parametrize("mode, names, status", [(0o700, [], 0), (0o700, [".a b\n*"], 1), (0o300, [], 1), (None, [], 0)])
def test_a_prefix_is_empty_only_if_it_was_read(mode, names, status):
    with tempfile.TemporaryDirectory(prefix="keyreap-empty.", dir="/tmp") as place:
        folder = Path(place) / "prefix"
        Path(place).chmod(0o755)
        if mode is not None:
            folder.mkdir()
            for name in names:
                (folder / name).touch()
            if os.geteuid() == 0:
                os.chown(folder, NOBODY, NOBODY)
            folder.chmod(mode)
        assert run(*as_ordinary_user("bash", "-c", IS_EMPTY, "bash", ROOT, folder)).returncode == status
        if mode is not None:
            folder.chmod(0o700)


def test_an_ordinary_user_has_a_namespace_wherever_the_system_allows_it(own_tree):
    allowed = run(*as_ordinary_user("unshare", "--user", "--mount", "true")).returncode == 0
    mounted = in_own_tree(own_tree, "bash", "-c", 'mountpoint -q "$WINEPREFIX/drive_c" && echo yes || echo no').stdout
    assert mounted == ("yes\n" if allowed else "no\n")


def test_what_an_ordinary_user_writes_is_seen_by_no_later_session(own_tree):
    before = in_own_tree(own_tree, *LISTING).stdout
    script = 'cd "$WINEPREFIX/drive_c" && echo more >>windows/win.ini && rm windows/system32/hlink.dll && mkdir new'
    assert in_own_tree(own_tree, "bash", "-c", script).returncode == 0
    assert in_own_tree(own_tree, *LISTING).stdout == before != ""


@pytest.mark.parametrize("requests", [[], ["--requests"]])
def test_programs_of_an_ordinary_user_have_no_rights_but_the_users(own_tree, requests):
    """The server, which opens files for them, must have none either: it can't write to a file that is read-only to its owner."""
    file = own_tree.folder / "readonly"
    script = 'chmod 444 "$1"; wine cmd /c "echo word >>$2"; cat /proc/self/status; exec cat "$1"'
    file.write_text("")
    if os.geteuid() == 0:
        os.chown(file, NOBODY, NOBODY)
    words = [*requests, "bash", "-c", script, "bash", file, windows(file)]
    result = in_own_tree(own_tree, *words)
    assert "CapEff:\t0000000000000000\n" in result.stdout
    assert file.read_text() == ""
    file.unlink()
