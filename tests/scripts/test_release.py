"""./release: it makes a zip only of a commit, and only if two clean builds of it are the same. Tested with the small
project; ./release compares the builds of the real one each time."""

import hashlib
import os
import shutil
import subprocess
import zipfile

import pytest
from conftest import ROOT, new_tree, run

LAID_OUT = ["README.md", "LICENSE", "docs", "examples", "release", ".gitignore"]
BUILD_FILES = ["Keyreap.cmake", "KeyreapCapture.cmake", "typelibrary.cmake", "oaidl.idl"]


def git(tree, *words):
    identity = {name % who: "tester" for name in ("GIT_%s_NAME", "GIT_%s_EMAIL") for who in ("AUTHOR", "COMMITTER")}
    command = ["git", "-c", "safe.directory=*", "-C", tree.folder, *words]
    subprocess.run(command, check=True, env=dict(os.environ, **identity), stdout=subprocess.DEVNULL)


@pytest.fixture(scope="module")
def committed_tree():
    """A tree that is a repository with one commit."""
    tree = new_tree()
    for name in LAID_OUT + ["cmake/" + name for name in BUILD_FILES]:
        copy = shutil.copytree if (ROOT / name).is_dir() else shutil.copy
        copy(ROOT / name, tree.folder / name)
    git(tree, "init", "-q")
    git(tree, "add", ".")
    git(tree, "commit", "-qm", "all")
    yield tree
    shutil.rmtree(tree.folder)


def release(tree, version="1.2.3"):
    return run(tree.folder / "release", version)


def sums(text):
    return {name: digest for digest, name in (line.split("  ", 1) for line in text.splitlines())}


def test_a_release_is_a_zip_with_its_checksums(committed_tree):
    result = release(committed_tree)
    assert result.returncode == 0, result.stderr
    made = committed_tree.build / "release"
    assert result.stdout == "%s/keyreap-1.2.3.zip\n" % made
    data = (made / "keyreap-1.2.3.zip").read_bytes()
    assert sums((made / "keyreap-1.2.3.zip.sha256").read_text()) == {"keyreap-1.2.3.zip": hashlib.sha256(data).hexdigest()}
    with zipfile.ZipFile(made / "keyreap-1.2.3.zip") as archive:
        files = {name.removeprefix("Keyreap/"): hashlib.sha256(archive.read(name)).hexdigest() for name in archive.namelist()}
        told = sums(archive.read("Keyreap/SHA256SUMS").decode())
    assert told == {name: digest for name, digest in files.items() if name != "SHA256SUMS"}
    assert {"README.md", "LICENSE", "cmake/Keyreap.cmake", "bin/x64/Keyreap.exe", "bin/x86/Keyreap.exe"} <= set(files)


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
    data = (ROOT / "build" / "stage" / "bin" / bitness / "Keyreap.exe").read_bytes()
    assert b"platform/core/text/text.cpp" in data
    assert os.fsencode(ROOT) not in data
