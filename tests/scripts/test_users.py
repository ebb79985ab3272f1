"""Whoever can't write to the build has Wine's files in their own cache folder, and gets the same bytes."""

import os
import shutil
import subprocess
import tempfile
from pathlib import Path

import pytest
from conftest import NOBODY, ROOT, as_ordinary_user, bash, is_locked, run

SAMPLES = ROOT / "build" / "stage" / "samples"

# Runs a command for which the folder $1 is read-only.
READ_ONLY = 'mount --bind "$1" "$1" && mount -o remount,bind,ro "$1" && cd / && shift && exec "$@"'


class User:
    """A user who can't write to the project's folder: NOBODY, or the caller with a read-only folder if that isn't root."""

    def __init__(self, folder):
        self.home = folder
        if os.geteuid() == 0:
            os.chown(folder, NOBODY, NOBODY)
        self.environment = {"PATH": os.environ["PATH"], "HOME": str(folder)}

    def words(self, *words):
        if os.geteuid() == 0:
            return as_ordinary_user(*words)
        space = ["unshare", "--user", "--map-current-user", "--keep-caps", "--mount"]
        return [*space, "bash", "-c", READ_ONLY, "bash", ROOT, *words]

    def run(self, *words, **variables):
        return run(*self.words(*words), env=self.environment | variables, cwd="/")

    def start(self, *words):
        return subprocess.Popen([str(word) for word in self.words(*words)], env=self.environment, cwd="/")

    def caches(self):
        return sorted((self.home / ".cache" / "keyreap").glob("*"))


def new_user():
    return User(Path(tempfile.mkdtemp(prefix="keyreap-user.", dir="/tmp")))


@pytest.fixture(scope="module")
def user():
    made = new_user()
    yield made
    shutil.rmtree(made.home)


def capture(folder, *mode, name=""):
    """The words of a run over the example's servers, and their results, whose names begin with name."""
    results = [folder / f"{name}64.reg", folder / f"{name}32.reg"]
    servers = [SAMPLES / bitness / "thermometer.dll" for bitness in ("x64", "x86")]
    pairs = [word for pair in zip(servers, results) for word in pair]
    return [ROOT / "keyreap", "extreg", *pairs, *mode], results


def bytes_of(results):
    return [result.read_bytes() for result in results]


@pytest.mark.parametrize("mode", ["keyRedir", "trace", "both"])
def test_another_user_gets_the_same_bytes_as_the_one_who_built(user, tmp_path, mode):
    words, expected = capture(tmp_path, mode)
    assert run(*words).returncode == 0
    words, results = capture(user.home, mode)
    result = user.run(*words)
    assert (result.returncode, result.stdout) == (0, "")
    assert bytes_of(results) == bytes_of(expected)


def test_a_further_run_of_another_user_is_silent(user):
    words, _ = capture(user.home, "keyRedir")
    assert user.run(*words).returncode == 0
    result = user.run(*words)
    assert (result.returncode, result.stdout, result.stderr) == (0, "", "")


def test_another_users_cache_can_be_read_by_nobody_else(user):
    words, _ = capture(user.home, "keyRedir")
    assert user.run(*words).returncode == 0
    assert [oct(cache.stat().st_mode & 0o777) for cache in user.caches()] == ["0o700"]
    assert [name.name for name in user.home.iterdir() if not name.name.endswith(".reg")] == [".cache"]


def test_users_may_run_at_once(user, tmp_path):
    words, results = capture(user.home, "both")
    further_words, further_results = capture(user.home, "both", name="further")
    own_words, own_results = capture(tmp_path, "both")
    runs = [user.start(*words), subprocess.Popen([str(word) for word in own_words]), user.start(*further_words)]
    assert [process.wait() for process in runs] == [0, 0, 0]
    assert bytes_of(results) == bytes_of(further_results) == bytes_of(own_results)


def test_nothing_of_another_users_run_is_left_in_the_prefix(user):
    words, _ = capture(user.home, "both")
    assert user.run(*words).returncode == 0
    pool = user.caches()[0] / "wine" / "pool"
    assert [path for path in pool.glob("[0-9]/*")] == []
    assert not any(is_locked(lock) for lock in pool.glob("*.lock"))


def test_the_folder_for_caches_is_the_callers(user):
    words, _ = capture(user.home, "keyRedir")
    assert user.run(*words).returncode == 0
    result = user.run(*words, HOME="/proc/none", XDG_CACHE_HOME=str(user.home / ".cache"))
    assert (result.returncode, result.stderr) == (0, "")


def test_a_folder_for_caches_that_is_relative_is_ignored(user):
    words, _ = capture(user.home, "keyRedir")
    assert user.run(*words, XDG_CACHE_HOME="caches").returncode == 0
    assert len(user.caches()) == 1


# Runs a command in the folder $1, which nobody can read any more.
IN_A_CLOSED_FOLDER = 'cd "$1" && chmod 0 "$1" && shift && exec "$@"'


@pytest.mark.parametrize("isolation", ["mounts", "copies"])
def test_the_current_folder_need_not_be_readable(user, isolation):
    folder = user.home / f"closed.{isolation}"
    folder.mkdir()
    shutil.chown(folder, user.home.stat().st_uid, user.home.stat().st_gid)
    words, _ = capture(user.home, "keyRedir")
    # The first run may have to set something up, and says so.
    assert user.run(*words, KEYREAP_ISOLATION=isolation).returncode == 0
    result = user.run("bash", "-c", IN_A_CLOSED_FOLDER, "bash", folder, *words, KEYREAP_ISOLATION=isolation)
    assert (result.returncode, result.stderr) == (0, "")


def test_a_caller_without_a_home_has_a_reason(user):
    words, _ = capture(user.home, "keyRedir")
    result = user.run(*words, HOME="/proc/none")
    assert result.returncode == 125
    assert result.stderr.startswith("keyreap: cannot write to /proc/none/.cache/keyreap/")
    assert "XDG_CACHE_HOME" in result.stderr and len(result.stderr.splitlines()) == 1


# The set-up of a user for whom the modules of the one who built are of another version.
OWN_MODULES = """
    source "$1/scripts/common.sh"
    USER_DATA=$2 LOGS=$2
    source "$1/scripts/setup.sh"
    wine_version() { echo 99.1; }
    make_modules() { :; }
    make_base() { printf '%s\\n' "$WINE_MODULES"; }
    make_wine
"""


def test_a_users_own_prefix_is_made_with_the_users_own_modules(tmp_path):
    result = bash("set -e;" + OWN_MODULES, ROOT, tmp_path)
    assert result.returncode == 0, result.stderr
    assert (tmp_path / "wine-base.log").read_text() == f"{tmp_path}/wine/modules\n"


def test_a_folder_for_modules_that_wine_cannot_find_is_refused(tmp_path):
    folder = tmp_path / "a:b"
    result = bash("set -e;" + OWN_MODULES, ROOT, folder)
    assert result.returncode == 125
    assert result.stderr == f"keyreap: {folder}/wine has a colon or a line break in its path, which Wine's variables can't have\n"


OWNER_NEEDED = """
    source "$1/scripts/common.sh"
    source "$1/scripts/setup.sh"
    nothing_newer() { return 1; }
    USER_DATA=/elsewhere
    make_program
"""


def test_a_checkout_in_which_nothing_is_built_names_its_owner(tmp_path):
    shutil.copytree(ROOT / "scripts", tmp_path / "scripts")
    result = bash(OWNER_NEEDED, tmp_path)
    assert result.returncode == 125
    assert result.stderr == (
        f"keyreap: nothing is built in {tmp_path} yet; {tmp_path.owner()}, who owns it, has to run {tmp_path}/keyreap once\n"
    )


BUILT_AT = """
    source "$1/scripts/common.sh"
    source "$1/scripts/setup.sh"
    program_there() { :; }
    nothing_newer() { [[ -f $2 ]]; }
    BUILD=$2 USER_DATA=/elsewhere
    mkdir -p "$2/stamps" && touch "$2/stamps/$3"
    built_by_owner
"""


@pytest.mark.parametrize("level, built", [("run", True), ("package", True), ("explain", True), ("wine", False), ("fuzz", False)])
def test_every_level_that_builds_the_program_serves_other_users(tmp_path, level, built):
    assert (bash(BUILT_AT, ROOT, tmp_path, level).returncode == 0) == built


# A base of the owner of the build, which is another user if the caller is root.
SHARED_BASE = """
    source "$1/scripts/common.sh"
    USER_DATA=$2/own
    source "$1/scripts/setup.sh"
    SHARED_WINE=$2/shared
    mkdir -p "$SHARED_WINE"/base/{drive_c,top,classless} && touch "$SHARED_WINE/base.lock" "$SHARED_WINE/base/drive_c/file"
    base_version >"$SHARED_WINE/base/version"
    ((EUID != 0)) || chown -R "$3:$3" "$SHARED_WINE"
    copy_shared_base
    base_ready
    find "$WINE_BASE" -printf '%u\\n' | sort -u
"""


def test_a_users_copy_of_the_base_belongs_to_the_user(tmp_path):
    result = bash("set -e;" + SHARED_BASE, ROOT, tmp_path, NOBODY)
    assert (result.returncode, result.stdout) == (0, tmp_path.owner() + "\n"), result.stderr


def test_a_build_that_is_out_of_date_names_its_owner():
    result = bash(OWNER_NEEDED, ROOT)
    owner = (ROOT / "build").owner()
    assert result.returncode == 125
    assert result.stderr == (
        f"keyreap: what is built in {ROOT}/build is out of date; {owner}, who built it, has to run {ROOT}/keyreap once\n"
    )
