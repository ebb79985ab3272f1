"""./release: it makes a zip and a Debian package only of a commit, and only if two clean builds of it are the same. Tested with
the small project; ./release compares the builds of the real one each time."""

import hashlib
import os
import shutil
import subprocess
import zipfile

import pytest
from conftest import ROOT, new_tree, run

LAID_OUT = ["README.md", "LICENSE", "docs", "examples", "packaging", "release", ".gitignore"]
BUILD_FILES = ["Keyreap.cmake", "KeyreapCapture.cmake", "KeyreapConfig.cmake", "KeyreapKit.cmake", "typelibrary.cmake", "oaidl.idl"]
CHANGELOG = """keyreap (1.2.3) unstable; urgency=medium

  * A change.

 -- A tester <tester@localhost.invalid>  Sun, 22 Nov 2026 08:00:00 +0000
"""

RELEASED = ["keyreap-1.2.3.zip", "keyreap_1.2.3_amd64.deb"]


def git(tree, *words):
    identity = {name % who: "tester" for name in ("GIT_%s_NAME", "GIT_%s_EMAIL") for who in ("AUTHOR", "COMMITTER")}
    command = ["git", "-c", "safe.directory=*", "-C", tree.folder, *words]
    subprocess.run(command, check=True, env=dict(os.environ, **identity), stdout=subprocess.DEVNULL)


def shorten_tools(folder):
    """Native programs that build at once, since a release builds them twice."""
    for place in ("hostlogger", "pe", "platform", "regmodel", "tools/capturecheck", "tools/observer"):
        for source in (folder / place).rglob("*.cpp"):
            is_program = source.stem in ("capturecheck", "observer", "requestfilter")
            source.write_text("int main() {}\n" if is_program else "")


@pytest.fixture(scope="module")
def committed_tree():
    """A tree that is a repository with one commit."""
    tree = new_tree()
    for name in LAID_OUT + ["cmake/" + name for name in BUILD_FILES]:
        copy = shutil.copytree if (ROOT / name).is_dir() else shutil.copy
        copy(ROOT / name, tree.folder / name)
    (tree.folder / "packaging" / "changelog").write_text(CHANGELOG)
    shorten_tools(tree.folder)
    git(tree, "init", "-q")
    git(tree, "add", ".")
    git(tree, "commit", "-qm", "all")
    yield tree
    shutil.rmtree(tree.folder)


def release(tree, version="1.2.3"):
    return run(tree.folder / "release", version)


def sums(text):
    return {name: digest for digest, name in (line.split("  ", 1) for line in text.splitlines())}


@pytest.fixture(scope="module")
def made(committed_tree):
    """The folder of a release."""
    result = release(committed_tree)
    assert result.returncode == 0, result.stderr
    folder = committed_tree.build / "release"
    assert result.stdout.splitlines() == [str(folder / name) for name in RELEASED]
    return folder


def test_a_release_is_a_zip_and_a_package_with_their_checksums(made):
    assert sorted(os.listdir(made)) == sorted(name + end for name in RELEASED for end in ("", ".sha256"))
    for name in RELEASED:
        digest = hashlib.sha256((made / name).read_bytes()).hexdigest()
        assert sums((made / (name + ".sha256")).read_text()) == {name: digest}


def test_the_zip_has_the_checksums_of_its_files(made):
    with zipfile.ZipFile(made / RELEASED[0]) as archive:
        files = {name.removeprefix("Keyreap/"): hashlib.sha256(archive.read(name)).hexdigest() for name in archive.namelist()}
        listed = sums(archive.read("Keyreap/SHA256SUMS").decode())
    assert listed == {name: digest for name, digest in files.items() if name != "SHA256SUMS"}
    assert {"README.md", "LICENSE", "cmake/KeyreapConfig.cmake", "bin/x64/Keyreap.exe", "bin/x86/Keyreap.exe"} <= set(files)
    assert {"selfcheck/selfcheck.cmd", "selfcheck/selfcheck.exe", "selfcheck/tests/x86/suite_good.exe"} <= set(files)


def test_the_package_has_the_program_that_the_zip_has(made, tmp_path):
    subprocess.run(["dpkg-deb", "-x", made / RELEASED[1], tmp_path], check=True)
    with zipfile.ZipFile(made / RELEASED[0]) as archive:
        for program in ("bin/x64/Keyreap.exe", "bin/x86/Keyreap.exe"):
            assert (tmp_path / "usr/lib/keyreap/stage" / program).read_bytes() == archive.read("Keyreap/" + program)


def test_a_version_that_the_project_does_not_have_is_refused(committed_tree):
    result = release(committed_tree, "1.2.4")
    assert (result.returncode, result.stdout) == (125, "")
    assert "says version 1.2.3, not 1.2.4" in result.stderr


def test_what_is_not_committed_is_refused(committed_tree):
    file = committed_tree.folder / "forgotten.cpp"
    file.write_text("")
    result = release(committed_tree)
    file.unlink()
    assert (result.returncode, result.stdout) == (125, "")
    assert "not committed" in result.stderr


def test_builds_that_differ_are_no_release(committed_tree):
    text = committed_tree.source.read_text()
    committed_tree.edit('L"wait"', 'L"" __TIME__')
    git(committed_tree, "commit", "-qam", "the time in the program")
    shutil.rmtree(committed_tree.build / "release", ignore_errors=True)
    result = release(committed_tree)
    git(committed_tree, "reset", "-q", "--hard", "HEAD~1")
    assert committed_tree.source.read_text() == text
    assert (result.returncode, result.stdout) == (125, "")
    assert "two builds of one commit differ" in result.stderr
    assert list((committed_tree.build / "release").iterdir()) == []


@pytest.mark.parametrize("bitness", ["x64", "x86"])
def test_the_program_names_no_folder_of_this_machine(bitness):
    folder = ROOT / "build" / "stage" / "bin" / bitness
    assert b"platform\\core\\text\\text.cpp" in (folder / "Keyreap.pdb").read_bytes()
    for name in ("Keyreap.exe", "Keyreap.pdb"):
        data = (folder / name).read_bytes()
        assert os.fsencode(ROOT) not in data
        assert os.fsencode(str(ROOT).replace("/", "\\")) not in data
