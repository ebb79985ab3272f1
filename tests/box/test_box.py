"""What a caller decides about the box of a server, what happens where there can't be one, and what a run leaves of its
outputs."""

import os
import shutil
import signal
import subprocess
import time
from pathlib import Path

import pytest
from runs import SAMPLES
from surroundings import PLAIN, PRIVILEGED, ROOT, number_of, words_of

COMMAND = ROOT / "keyreap"
MISSING = "keyreap: this run can't be kept apart from the machine ("

# Runs a command with a folder as its root, in which most of the machine is. The folder is a mount point or, with `plain`, not.
CHANGED_ROOT = """
    set -e
    mount --make-rprivate / && mount -t tmpfs -o mode=755 tmpfs "$1"
    root=$1
    [[ $2 != plain ]] || { root=$1/root && mkdir "$root"; }
    cd "$root" && shift 2
    for link in bin sbin lib lib64; do ln -s "usr/$link" "$link"; done
    for folder in usr etc var dev proc sys home root "$PLACE" "$WORK"; do
        folder=${folder#/}
        mkdir -p "$folder" && mount --rbind "/$folder" "$folder"
    done
    mkdir -m 1777 -p tmp && exec chroot . "$@"
"""


@pytest.fixture
def place(tmp_path_factory):
    """A folder that every user reaches."""
    folder = Path(subprocess.run(["mktemp", "-d", "/var/tmp/keyreap-box.XXXXXX"], capture_output=True, text=True, check=True).stdout.strip())
    folder.chmod(0o777)
    (folder / "in").mkdir()
    for name in ("neighbour.dll", "pausing.dll", "renaming.dll"):
        shutil.copy(SAMPLES / "x64" / name, folder / "in")
    shutil.copy(SAMPLES / "x64" / "selfpath.dll", folder / "in" / "server.dll")
    yield folder
    shutil.rmtree(folder)


def environment(user=PRIVILEGED, **variables):
    known = {name: value for name, value in os.environ.items() if not name.startswith("KEYREAP_")}
    if user == PLAIN:
        known = {"PATH": known["PATH"], "HOME": "/nonexistent"}
    return known | variables


def capture(*words, user=PRIVILEGED, **variables):
    command = [*words_of(user), COMMAND, *words]
    return subprocess.run(
        [str(word) for word in command], env=environment(user, **variables), stdin=subprocess.DEVNULL, capture_output=True, text=True
    )


def captured(result):
    return (result.returncode, result.stdout, result.stderr) == (0, "", "")


# What a caller decides


def test_a_library_elsewhere_is_found_in_a_folder_that_is_named(place):
    (place / "lib").mkdir()
    shutil.copy(SAMPLES / "x64" / "neighbourlib.dll", place / "lib")
    (place / "in" / "neighbourlib.dll").symlink_to(place / "lib" / "neighbourlib.dll")
    words = ("extreg", place / "in" / "neighbour.dll", place / "out.reg")
    assert "needs neighbourlib.dll" in capture(*words).stderr
    assert captured(capture("--see", place / "lib", *words))
    assert captured(capture(*words, KEYREAP_SEE=str(place / "lib")))


@pytest.mark.parametrize("folder", ["/", "/tmp", "/proc", "/dev", "/run", "in", "/no/such/folder", ""])
def test_a_folder_that_shows_too_much_or_is_none_is_refused(place, folder):
    result = capture("--see", folder, "extreg", place / "in" / "server.dll", place / "out.reg")
    assert result.returncode == 125
    assert result.stderr.startswith(f"keyreap: --see is '{folder}'")
    assert not (place / "out.reg").exists()


@pytest.mark.parametrize("name", ["A=B", "", "1A", "WINEPREFIX", "HOME", "LD_PRELOAD", "TMPDIR"])
def test_a_name_of_no_variable_or_of_one_that_each_session_has_is_refused(place, name):
    result = capture("--env", name, "extreg", place / "in" / "server.dll", place / "out.reg")
    assert result.returncode == 125
    assert result.stderr.startswith(f"keyreap: --env is '{name}'")


@pytest.mark.parametrize("variable", ["KEYREAP_SANDBOX", "KEYREAP_BOX_MEMORY", "KEYREAP_BOX_DISK", "KEYREAP_BOX_PROCESSES"])
def test_a_setting_that_is_not_understood_is_refused(place, variable):
    result = capture("extreg", place / "in" / "server.dll", place / "out.reg", **{variable: "much"})
    assert result.returncode == 125
    assert result.stderr.startswith(f"keyreap: {variable} is 'much'")


# Where there can't be a box


def in_changed_root(kind, user, place, *words, **variables):
    (place / "root").mkdir(exist_ok=True)
    values = {**variables, "PLACE": str(place / "in"), "WORK": str(ROOT)}
    command = ["unshare", "--mount", "bash", "-c", CHANGED_ROOT, "bash", place / "root", kind, *words_of(user)]
    command += ["env", *(f"{name}={value}" for name, value in variables.items()), COMMAND, *words]
    return subprocess.run(
        [str(word) for word in command], env=environment() | values, stdin=subprocess.DEVNULL, capture_output=True, text=True
    )


@pytest.fixture
def words(place):
    return ("extreg", place / "in" / "server.dll", place / "in" / "out.reg")


@pytest.fixture
def usual(words):
    assert captured(capture(*words))
    return take(words[-1])


def take(file):
    content = file.read_bytes()
    file.unlink()
    return content


def test_in_a_plain_root_the_run_says_so_and_goes_on(place, words, usual):
    result = in_changed_root("plain", PRIVILEGED, place, *words)
    assert (result.returncode, result.stdout, result.stderr.count("\n")) == (0, "", 1)
    assert result.stderr.startswith(MISSING)
    assert take(words[-1]) == usual


def test_in_a_plain_root_a_required_box_is_missing(place, words):
    result = in_changed_root("plain", PRIVILEGED, place, *words, KEYREAP_SANDBOX="require")
    assert (result.returncode, result.stdout, result.stderr.count("\n")) == (125, "", 1)
    assert result.stderr.startswith(MISSING)
    assert not words[-1].exists()


def test_in_a_plain_root_a_box_that_nobody_wants_is_not_mentioned(place, words, usual):
    assert captured(in_changed_root("plain", PRIVILEGED, place, *words, KEYREAP_SANDBOX="off"))
    assert take(words[-1]) == usual


def test_in_a_root_that_is_a_mount_point_root_has_a_box(place, words, usual):
    assert captured(in_changed_root("mounted", PRIVILEGED, place, *words, KEYREAP_SANDBOX="require"))
    assert take(words[-1]) == usual


# Outputs


def test_an_output_that_is_a_link_is_written_where_it_leads(place):
    (place / "elsewhere").mkdir()
    (place / "out.reg").symlink_to(place / "elsewhere" / "real.reg")
    assert captured(capture("extreg", place / "in" / "server.dll", place / "out.reg"))
    assert (place / "out.reg").is_symlink()
    assert (place / "elsewhere" / "real.reg").stat().st_size > 0


def test_an_output_of_another_user_keeps_its_owner(place):
    output = place / "out.reg"
    output.write_text("old")
    os.chown(output, number_of(PLAIN), -1)
    output.chmod(0o644)
    assert captured(capture("extreg", place / "in" / "server.dll", output))
    assert output.stat().st_uid == number_of(PLAIN)
    assert output.read_bytes().startswith("\ufeffWindows Registry Editor".encode("utf-16-le"))


def test_an_input_that_only_roots_rights_open_is_refused_with_that_reason(place):
    os.chown(place / "in" / "server.dll", number_of(PLAIN), -1)
    (place / "in" / "server.dll").chmod(0o600)
    result = capture("extreg", place / "in" / "server.dll", place / "out.reg")
    assert result.returncode == 125
    assert "server.dll: it belongs to another user" in result.stderr
    assert not (place / "out.reg").exists()


def test_a_pair_that_fails_leaves_no_empty_output(place):
    (place / "in" / "broken.dll").write_bytes(b"MZ nothing")
    result = capture("extreg", place / "in" / "broken.dll", place / "out.reg")
    assert result.returncode == 255
    assert not (place / "out.reg").exists()


@pytest.mark.parametrize("ending", [signal.SIGINT, signal.SIGTERM, signal.SIGKILL])
def test_a_run_that_is_ended_leaves_no_empty_output(place, ending):
    source = place / "in" / "staying.cpp"
    source.write_text('#include <windows.h>\nextern "C" __declspec(dllexport) long __stdcall DllRegisterServer() { Sleep(INFINITE); return 0; }\n')
    library = source.with_suffix(".dll")
    subprocess.run(["x86_64-w64-mingw32-g++-posix", "-shared", "-static", source, "-o", library], check=True)
    command = ["env", "--default-signal=INT", COMMAND, "extreg", library, place / "out.reg"]
    run = subprocess.Popen([str(word) for word in command], env=environment(), stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    while not (place / "out.reg").exists():
        time.sleep(0.02)
    time.sleep(0.5)
    run.send_signal(ending)
    assert run.wait() == -ending
    for _ in range(500):
        if not (place / "out.reg").exists():
            return
        time.sleep(0.02)
    assert False, "the empty file is still there"
