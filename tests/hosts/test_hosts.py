"""Both releases of Debian are hosts of equal right. Tried in fresh roots of them, without a display: the package in the
release that this machine isn't; in a whole run the package in both, and what a newcomer does with a clone."""

import re
import shutil
import subprocess
import time
from pathlib import Path

import pytest
from conftest import WHOLE, report
from roots import RELEASES, USER, Root, other_release

ROOT = Path(__file__).resolve().parents[2]
HOME = f"/home/{USER}"
TRIED = list(RELEASES) if WHOLE else [other_release()]
MODES = ["keyRedir", "trace", "both"]

# A module of Wine in both bitnesses, and the class that it registers.
MODULES = {"64.reg": "C:\\windows\\system32\\hlink.dll", "32.reg": "C:\\windows\\syswow64\\hlink.dll"}
MODULES_CLASS = "\\CLSID\\{79EAC9D0-BAF9-11CE-8C82-00AA004BA90B}\\InProcServer32]"

# The example's server in both bitnesses, of the package and of this machine's build.
SAMPLES = ["x64/thermometer.dll", "x86/thermometer.dll"]
INSTALLED_SAMPLES = "/usr/lib/keyreap/stage/samples"
BUILT_SAMPLES = ROOT / "build" / "stage" / "samples"


class Clock:
    def __init__(self):
        self.begun = time.monotonic()

    def __str__(self):
        return f"{time.monotonic() - self.begun:.0f} s"


def new_root(release, place, name, shared, *packages):
    clock = Clock()
    root = Root(release, place / f"{release}.{name}", shared, *packages)
    report(f"{root.name}: a minimal root in {clock}, {root.megabytes('/')} MB")
    return root


# The package


@pytest.fixture(scope="module", params=TRIED)
def installed(request, place, package):
    """A root in which the package is installed."""
    root = new_root(request.param, place, "package", package.parent)
    clock = Clock()
    root.succeed("apt-get", "-q", "update")
    root.succeed("apt-get", "-q", "-y", "install", "--no-install-recommends", f"/mnt/{package.name}")
    report(f"{root.name}: the package installed in {clock}, {root.megabytes('/')} MB with what it depends on")
    root.known = files_of(root)
    root.skeleton = {path.name for path in root.path(HOME).iterdir()}
    yield root
    root.remove()


def files_of(root):
    """The paths of all files but those of users and of the package manager."""
    left_out = ["/home", "/root", "/mnt", "/var/lib/apt", "/var/cache", "/var/log", "/var/lib/dpkg", "/tmp", "/proc", "/dev", "/sys", "/run"]
    prune = [word for folder in left_out for word in ("-path", folder, "-prune", "-o")]
    return set(root.succeed("find", "/", *prune, "-print").splitlines())


def words_of_capture(mode, servers=MODULES):
    return ["extreg", *(word for name, server in servers.items() for word in (server, name)), mode]


def captured(root, mode, servers=MODULES):
    """The texts of what the plain user captures."""
    result = root.run("keyreap", *words_of_capture(mode, servers), user=True, folder=HOME)
    assert (result.returncode, result.stdout) == (0, ""), result.stderr
    return [root.path(f"{HOME}/{name}").read_bytes().decode("utf-16") for name in servers]


def samples_in(folder):
    return {f"{number}.reg": f"{folder}/{name}" for number, name in enumerate(SAMPLES)}


def with_folder(text, old, new):
    """A .reg file's text as it is when the servers are in another folder."""
    return text.replace(*("Z:" + str(folder).replace("/", "\\\\") for folder in (old, new)))


@pytest.fixture(scope="module")
def expected(tmp_path_factory):
    """What this machine captures of the example's servers, by mode, with their installed folder."""
    folder = tmp_path_factory.mktemp("expected")
    results = {}
    for mode in MODES:
        servers = samples_in(BUILT_SAMPLES)
        subprocess.run([ROOT / "keyreap", *words_of_capture(mode, servers)], check=True, cwd=folder)
        texts = [(folder / name).read_bytes().decode("utf-16") for name in servers]
        results[mode] = [with_folder(text, BUILT_SAMPLES, INSTALLED_SAMPLES) for text in texts]
    return results


@pytest.mark.parametrize("mode", MODES)
def test_the_package_captures_both_bitnesses_as_this_machine_does(installed, expected, mode):
    clock = Clock()
    assert captured(installed, mode, samples_in(INSTALLED_SAMPLES)) == expected[mode]
    report(f"{installed.name}: both bitnesses captured in mode {mode} in {clock}")


def test_the_package_captures_a_module_of_wine_alike_in_all_modes(installed):
    captures = {mode: captured(installed, mode) for mode in MODES}
    assert captures["both"] == captures["trace"]
    for texts in captures.values():
        assert all(MODULES_CLASS.lower() in text.lower() for text in texts)


def test_the_package_needs_no_foreign_architecture(installed):
    assert installed.succeed("dpkg", "--print-foreign-architectures") == ""
    assert installed.succeed("dpkg-query", "-W", "-f", "${Architecture}\n", "*").count("i386") == 0


def test_a_further_run_of_the_package_is_silent(installed):
    result = installed.run("keyreap", *words_of_capture("both"), user=True, folder=HOME)
    assert (result.returncode, result.stdout, result.stderr) == (0, "", "")


# Prints the known hash of the 32-bit package of Wine and what the signed list says.
KNOWN_AND_SIGNED = """
    cd "$HOME" && mkdir -p known/lists/partial
    options="-o APT::Architecture=i386 -o APT::Architectures=i386 -o Dir::State::Lists=$PWD/known/lists -o Dir::Cache=$PWD/known"
    for part in common packages wine; do source "/usr/lib/keyreap/scripts/$part.sh"; done
    # As in a set-up: another list may be out of date.
    apt-get -q $options update >&2 || true
    printf '%s\\n' "${KNOWN_MODULES[$(wine_version)]}"
    apt-cache $options show "libwine:i386=$(wine_version)" | sed -n 's/^SHA256: //p'
    rm -rf known
"""


@pytest.mark.whole
def test_the_package_knows_the_modules_as_the_signed_list_has_them(installed):
    known, signed = installed.succeed("bash", "-ec", KNOWN_AND_SIGNED, user=True, folder=HOME).split()
    assert known == signed


STRANGE = "/usr/local/bin/strangeserver"

# The server's own log, with a first line that no Wine writes.
STRANGE_SERVER = """#!/bin/sh
echo '0024: frobnicate_key( hkey=0004 )' >&2
exec /usr/lib/wine/wineserver "$@"
"""


@pytest.fixture
def strange(installed):
    """A root with a server of Wine's that writes a line to its log that nobody knows."""
    server = installed.path(STRANGE)
    server.write_text(STRANGE_SERVER, encoding="ascii")
    server.chmod(0o755)
    yield installed
    server.unlink()


@pytest.mark.parametrize("mode", ["trace", "both"])
def test_a_line_that_nobody_knows_makes_a_trace_fail(strange, mode):
    captured(strange, "keyRedir")
    result = strange.run("keyreap", *words_of_capture(mode), user=True, folder=HOME, KEYREAP_WINESERVER=STRANGE)
    assert result.returncode == 125
    assert "frobnicate_key" in result.stderr


@pytest.mark.whole
def test_a_wine_that_nobody_knows_is_refused_for_traces_before_the_run(strange):
    caches = {"XDG_CACHE_HOME": f"{HOME}/other", "KEYREAP_WINESERVER": STRANGE}
    strange.path(f"{HOME}/64.reg").write_bytes(b"before")
    for mode in ("trace", "both"):
        result = strange.run("keyreap", *words_of_capture(mode), user=True, folder=HOME, **caches)
        assert result.returncode == 125
        assert strange.path(f"{HOME}/64.reg").read_bytes() == b"before"
    result = strange.run("keyreap", *words_of_capture("keyRedir"), user=True, folder=HOME, **caches)
    assert result.returncode == 0, result.stderr
    shutil.rmtree(strange.path(f"{HOME}/other"))


OUTSIDE = """
    cp -r /usr/share/doc/keyreap/examples outside
    cmake -S outside -B built -G Ninja -D CMAKE_TOOLCHAIN_FILE=/usr/lib/cmake/Keyreap/mingw.cmake -D KEYREAP_TARGET=x86_64
    cmake --build built --target thermometer_reg journal_reg
"""


@pytest.mark.whole
def test_the_package_captures_from_a_project_of_cmake(installed):
    installed.succeed("apt-get", "-q", "-y", "install", "--no-install-recommends", "cmake", "ninja-build",
                      "g++-mingw-w64-x86-64-posix", "mingw-w64-tools", "python3")  # fmt: skip
    installed.known |= files_of(installed)
    installed.succeed("bash", "-ec", OUTSIDE, user=True, folder=HOME)
    for server in ("thermometer", "journal"):
        result = next(installed.path(HOME).glob(f"built/**/{server}.reg"))
        assert f"Keyreap example: {server}" in result.read_bytes().decode("utf-16")


def test_a_purge_leaves_nothing_outside_the_users_caches(installed):
    installed.succeed("apt-get", "-q", "-y", "purge", "keyreap")
    left = files_of(installed)
    assert sorted(left - installed.known) == []
    assert [path for path in left if "keyreap" in path.lower()] == []
    assert installed.run("dpkg", "-s", "keyreap").returncode != 0
    assert [path.name for path in installed.path("/tmp").iterdir()] == []
    kept = {".cache", "outside", "built", *MODULES, *samples_in("")}
    assert {path.name for path in installed.path(HOME).iterdir()} - installed.skeleton - kept == set()


# A clone


def first_commands():
    """The first commands of README.md, which a newcomer runs in a clone."""
    text = (ROOT / "README.md").read_text(encoding="utf-8")
    return re.search(r"^```sh\n(.*?)^```$", text, re.M | re.S)[1]


def text_at_home(folder, capture):
    """The example's result on this machine, as it is with a checkout in another folder."""
    subprocess.run([ROOT / "keyreap", "extreg", ROOT / "build/stage/samples/x64/thermometer.dll", capture, "keyRedir"], check=True)
    escaped = [str(path).replace("/", "\\\\") for path in (ROOT, folder)]
    return capture.read_bytes().decode("utf-16").replace(*escaped).replace("\r\n", "\n")


@pytest.mark.whole
@pytest.mark.parametrize("release", list(RELEASES))
def test_a_newcomer_captures_with_a_clone_and_so_does_another_user(release, place, tmp_path):
    root = new_root(release, place, "clone", ROOT, "git")
    try:
        clone = "/srv/keyreap"
        expected = text_at_home(clone, tmp_path / "expected.reg")
        root.succeed("git", "-c", "safe.directory=*", "clone", "-q", "/mnt", clone)
        clock = Clock()
        assert root.succeed("bash", "-ec", first_commands(), folder=clone) == expected
        report(f"{root.name}: README's commands in a clone, as root, in {clock}; the machine then has {root.megabytes('/')} MB")
        clock = Clock()
        root.succeed("bash", "-ec", first_commands(), folder=clone)
        report(f"{root.name}: once more in {clock}")
        clock = Clock()
        commands = first_commands().replace("./keyreap", f"{clone}/keyreap").replace(" build/", f" {clone}/build/")
        assert root.succeed("bash", "-ec", commands, user=True, folder=HOME) == expected
        report(f"{root.name}: as another user in {clock}, whose cache has {root.megabytes(HOME + '/.cache')} MB")
        assert root.path(f"{HOME}/thermometer.reg").read_bytes() == root.path(f"{clone}/thermometer.reg").read_bytes()
    finally:
        root.remove()


# Without rights


def test_a_root_that_cannot_be_made_has_a_reason(tmp_path):
    making = f"""
import os, sys; sys.path.insert(0, {str(Path(__file__).parent)!r})
from pathlib import Path
from roots import Root
if os.geteuid() == 0: os.setuid(65534)
Root({other_release()!r}, Path({str(tmp_path)!r}) / "root", Path("/"))
"""
    result = subprocess.run(["/usr/bin/python3", "-B", "-c", making], capture_output=True, text=True, cwd="/")
    assert result.returncode != 0
    assert "making a root needs the rights of root" in result.stderr
